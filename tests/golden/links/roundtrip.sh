# The pairs of a generated link, decoded as a front end decodes a query
# ("+" is a blank), come back through --var with their types.
link=$("$VEXL" render make_link.vxl | sed -n "s/.*href='?\([^']*\)'.*/\1/p")
echo "$link"
args=()
IFS='&' read -ra pairs <<< "$link"
for pair in "${pairs[@]}"; do
  args+=(--var "${pair//+/ }")
done
"$VEXL" render roundtrip.vxl "${args[@]}"
