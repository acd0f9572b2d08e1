# Table and column names are identifiers: a name that holds SQL finds no
# table and runs nothing, and a real name with quotes and a semicolon works.
sqlite3 "$WORK/t.db" "CREATE TABLE words (source TEXT PRIMARY KEY, target TEXT);
  INSERT INTO words VALUES ('Hello', 'Bonjour');
  CREATE TABLE \"odd &quot;name&quot;; x\" (source TEXT PRIMARY KEY, target TEXT);
  INSERT INTO \"odd &quot;name&quot;; x\" VALUES ('Hello', 'Hallo')"
render() { "$VEXL" render names.vxl --var "db=$WORK/t.db" --var "table=$1" --var "column=$2"; }
echo "== a subquery as the value column"
render words "(SELECT group_concat(name) FROM sqlite_master)"
echo "== a statement behind the table name"
render "words; DROP TABLE words; --" target
echo "== a quote that would close the name"
render 'words" WHERE 0 UNION SELECT sql FROM sqlite_master --' target
echo "== the value column is no string literal"
render words nosuchcolumn
echo "== tables: $(sqlite3 "$WORK/t.db" "SELECT group_concat(name, ' | ') FROM sqlite_master WHERE type = 'table'")"
echo "== rows of words: $(sqlite3 "$WORK/t.db" 'SELECT count(*) FROM words')"
