# The parsed objects of a page and its includes count against MaxMemory: an
# include of 6 MB of tags (some 38 MB once parsed) under a limit of 16M ends
# the page with the message instead of walking it; under 512M it goes through.
head -c 6000000 /dev/zero | tr '\0' 'b' | sed 's/bbb/<b>/g' > "$WORK/big.inc"
printf '<p>before</p>\n<INCLUDE file="big.inc">\n<p>after</p>\n' > "$WORK/included.vxl"
printf '[QuinceConfig]\nMaxMemory = 16M\n' > "$WORK/small.ini"
"$VEXL" render "$WORK/included.vxl" --ini "$WORK/small.ini" | grep -v '^<b>'
printf '[QuinceConfig]\nMaxMemory = 512M\n' > "$WORK/large.ini"
"$VEXL" render "$WORK/included.vxl" --ini "$WORK/large.ini" | grep -c '^<b>'
