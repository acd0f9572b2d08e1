# Printing an array that shares itself 30 times over (2^30 items written
# out) stops at the memory limit with its message, not after gigabytes.
"$VEXL" render memory_printed_array.vxl --ini memory.ini > "$WORK/out"
grep -o 'line <b>8</b>: out of memory for strings and arrays (QuinceConfig MaxMemory)' "$WORK/out"
echo "== bytes out: at most 2 x 16 MiB: $(wc -c < "$WORK/out" | awk '{print ($1 < 33554432)}')"
