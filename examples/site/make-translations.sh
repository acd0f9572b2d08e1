#!/bin/sh
# Builds the translation database of the example site from translations.sql.
# Usage: make-translations.sh [OUTPUT]   (default: translations.db beside this script)
set -eu
here=$(cd "$(dirname "$0")" && pwd)
output=${1:-$here/translations.db}
python3 - "$here/translations.sql" "$output" <<'PY'
import sqlite3, sys
source, output = sys.argv[1], sys.argv[2]
connection = sqlite3.connect(output)
connection.executescript(open(source, encoding="utf-8").read())
connection.commit()
connection.close()
PY
echo "wrote $output"
