# A session variable that is a map keeps its keys, their order and nested
# arrays between requests.
printf '[QuinceConfig]\nSessionStore = %s/sessions.db\n' "$WORK" > "$WORK/site.ini"
for i in 1 2 3; do "$VEXL" render map.vxl --ini "$WORK/site.ini" --session 12; done
