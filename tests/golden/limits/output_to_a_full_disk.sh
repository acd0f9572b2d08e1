# Output that cannot be written (a full disk) ends with an error and a
# status other than 0, never as a page written whole.
"$VEXL" render output_to_a_full_disk.vxl > /dev/full 2> "$WORK/errors"
echo "== status $?"
cat "$WORK/errors"
