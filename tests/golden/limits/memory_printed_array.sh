# Printing an array that shares itself 30 times over (2^30 items written
# out) stops at the memory limit with its message, not after gigabytes.
"$VEXL" render memory_printed_array.vxl --ini memory.ini | tail -c 150
echo
echo "== bytes out: at most 2 x 16 MiB: $("$VEXL" render memory_printed_array.vxl --ini memory.ini | wc -c | awk '{print ($1 < 33554432)}')"
