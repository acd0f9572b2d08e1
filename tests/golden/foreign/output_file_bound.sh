# The interpreter's output file cannot grow past MaxOutputBytes: the writer
# is stopped by the file size limit (SIGXFSZ, status 153) at the bound.
"$VEXL" render output_file_bound.vxl --ini request_limits.ini 2>&1 | grep -v '^File size limit'
