# Texts met again and again (loop passes, nested loops, an included file,
# other tables of the same file): each is added once, in the order first met.
# The tables have no key, so a second insert of a text would show as a row.
sqlite3 "$WORK/tr.db" "CREATE TABLE words (source TEXT, target TEXT); CREATE TABLE other (source TEXT, target TEXT);
  INSERT INTO words VALUES ('Row', 'Zeile'); INSERT INTO other VALUES ('Shared', 'Gemeinsam')"
render() { "$VEXL" render repeated.vxl --var "db=$WORK/tr.db"; }
list() { sqlite3 "$WORK/tr.db" "SELECT '[' || source || '] -> [' || target || ']' FROM $1 ORDER BY rowid"; }
echo "== first run"
render
echo "== rows of words"
list words
echo "== rows of other"
list other
sqlite3 "$WORK/tr.db" "UPDATE words SET target = 'Innen' WHERE source = 'Inner'; UPDATE other SET target = 'Zeile2' WHERE source = 'Row'"
echo "== second run"
render
echo "== rows: $(sqlite3 "$WORK/tr.db" 'SELECT count(*) FROM words') and $(sqlite3 "$WORK/tr.db" 'SELECT count(*) FROM other')"
