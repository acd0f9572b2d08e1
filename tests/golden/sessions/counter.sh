# A session counter kept in the store between requests; a new number for
# --session 0; an expired session starts empty.
printf '[QuinceConfig]\nSessionStore = %s/sessions.db\n' "$WORK" > "$WORK/site.ini"
render() { "$VEXL" render counter.vxl --ini "$WORK/site.ini" "$@"; echo; }
render --session 77 --headers
render --session 77
render --session 78
render --session 77
fresh=$("$VEXL" render counter.vxl --ini "$WORK/site.ini" --session 0 --headers)
id=$(printf '%s\n' "$fresh" | sed -n 's/^http_session_id: //p')
# The variable is a 32-bit integer: numbers above 2^31 read as negative.
signed=$(( id > 2147483647 ? id - 4294967296 : id ))
if [ "$id" -gt 0 ] && printf '%s' "$fresh" | grep -q "visits 1 in session $signed\$"; then
  echo "a new session got number N and starts at 1"
else
  echo "unexpected: $fresh"
fi
sleep 2
render --session 77 --expiry 1
