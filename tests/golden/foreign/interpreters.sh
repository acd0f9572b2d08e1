# Foreign scripts: output in place, walked as a page, long lines whole,
# a missing interpreter, the time limit, and no file left behind.
"$VEXL" render interpreters.vxl --ini interpreters.ini | sed -E 's/x{10000}/[10000 x]/'
echo "== left beside the src script: $(ls -A | grep -c '\.out$')"
