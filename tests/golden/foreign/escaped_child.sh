# A child that leaves the interpreter's process group (setsid) and outlives
# it is ended with it, instead of running on after the page.
"$VEXL" render escaped_child.vxl --ini request_limits.ini
sleep 0.3
if pgrep -f "sleep 30; echo late" > /dev/null; then echo "the detached child still runs"; else echo "no child left"; fi
