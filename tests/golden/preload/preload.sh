# A Preload script with main runs before the page and leaves its helpers; one
# without main only contributes procedures; no key runs nothing.
for ini in with_main without_main no_key; do
  echo "== $ini"
  "$VEXL" render preload.vxl --ini $ini.ini
  echo
done
