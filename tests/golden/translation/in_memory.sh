# A text is looked up once per request: a translator's change made while the
# page runs shows from the next request on, and then at once.
sqlite3 "$WORK/tr.db" "CREATE TABLE words (source TEXT PRIMARY KEY, target TEXT)"
render() { "$VEXL" render in_memory.vxl --ini in_memory.ini --var "db=$WORK/tr.db"; }
echo "== first run"
render
echo "== second run"
render
echo "== rows"
sqlite3 "$WORK/tr.db" "SELECT '[' || source || '] -> [' || target || ']' FROM words ORDER BY rowid"
