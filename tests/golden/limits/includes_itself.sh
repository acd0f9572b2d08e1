# The highest nesting the configuration accepts: the walk ends where the
# thread's stack runs short (a depth that differs from build to build), with
# a message instead of a crash; so does a compile of deeper parentheses.
"$VEXL" render includes_itself.vxl --ini highest.ini |
    sed -E 's/Failed to parse [^<]*includes_itself\.vxl/[Failed to parse, at every level]/; s/x+</[x at every level]</; s/allows \([0-9]+ levels\)/allows (N levels)/'
echo
echo "== status ${PIPESTATUS[0]}"
python3 -c "print('<SCRIPT>int a = ' + '(' * 200000 + '1' + ')' * 200000 + '</SCRIPT>')" > "$WORK/parens.vxl"
"$VEXL" render "$WORK/parens.vxl" --ini highest.ini | grep -o -E "nesting deeper than this thread's stack allows"
echo "== status ${PIPESTATUS[0]}"
