# A table that fills itself: the first run adds every text with an empty
# value, a translator fills one, the second run shows it and adds nothing.
for name in one two; do
  sqlite3 "$WORK/$name.db" "CREATE TABLE words (source TEXT PRIMARY KEY, target TEXT)"
done
render() { "$VEXL" render store.vxl --var "db=$WORK/one.db" --var "db2=$WORK/two.db"; }
list() { sqlite3 "$WORK/$1.db" "SELECT '[' || source || '] -> [' || target || ']' FROM words ORDER BY rowid"; }
echo "== first run"
render
echo "== rows"
list one
echo "== rows of the second file"
list two
sqlite3 "$WORK/one.db" "UPDATE words SET target = 'Bonjour' WHERE source = 'Hello'"
sqlite3 "$WORK/one.db" "UPDATE words SET target = 'C''est ici' WHERE source = 'It''s here'"
sqlite3 "$WORK/one.db" "UPDATE words SET target = char(10) || 'ignored' WHERE source = 'Line' || char(10) || 'break'"
echo "== second run"
render
echo "== rows after the second run: $(sqlite3 "$WORK/one.db" 'SELECT count(*) FROM words')"
