# The machine's zone, set by a POSIX TZ rule that needs no zone files:
# five and a half hours east of UTC.
TZ="IST-5:30" "$VEXL" render dates_local.vxl
