#!/usr/bin/env bash
# Renders the hostile pages (100,000 nested IF, nested LOOP, sequential IF
# blocks with and without ELSE, unclosed IF, parentheses 100,000 deep, a user
# tag that prints itself) with a given vexl program and prints, for each, the
# wall time, the peak memory and whether the page's message appeared. Run it
# with a sanitizer build as well:
#   bash bench/hostile_pages.sh build-asan/vexl
set -euo pipefail

program="$(realpath "${1:-build/vexl}")"
count=100000
work="$(mktemp -d /tmp/vexl-hostile-bench-XXXXXX)"
trap 'rm -rf "$work"' EXIT

repeat() { local piece="$1" times="$2"; printf -- "$piece%.0s" $(seq 1 "$times"); }

repeat '<IF condition="1">' $count > "$work/nested_if.vxl"
printf 'core' >> "$work/nested_if.vxl"
repeat '<ENDIF>' $count >> "$work/nested_if.vxl"

repeat '<LOOP initialiser="i = 0" condition="i < 1" iterator="i = i + 1">' $count > "$work/nested_loop.vxl"
printf 'core' >> "$work/nested_loop.vxl"
repeat '</LOOP>' $count >> "$work/nested_loop.vxl"

repeat '<IF condition="1">x<ENDIF>' $count > "$work/sequential_if.vxl"
repeat '<IF condition="0">x<ELSE>y<ENDIF>' $count > "$work/sequential_if_else.vxl"
repeat '<IF condition="0">x' $count > "$work/unclosed_if.vxl"

{ printf '<SCRIPT>print '; repeat '(' $count; printf '1'; repeat ')' $count; printf '</SCRIPT>'; } \
  > "$work/deep_parentheses.vxl"

cat > "$work/self_printing_tag.vxl" <<'PAGE'
<SCRIPT>
proc again(var page, int position)
  print "<again>"
endproc
</SCRIPT><DEFTAG name="again" proc="again" parseoutput="1"><again>after
PAGE

printf '%-20s %9s %10s  %s\n' page seconds "peak MB" "message"
for page in nested_if nested_loop sequential_if sequential_if_else unclosed_if deep_parentheses self_printing_tag; do
  (cd "$work" && TMPDIR="$work" ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}" \
    /usr/bin/time -f '%e %M' -o "$work/$page.time" "$program" render "$page.vxl" > "$work/$page.out" 2>&1) || true
  read -r seconds kilobytes < <(tail -n 1 "$work/$page.time")
  message="$(grep -o -m1 -E 'nest deeper than [0-9]+ levels|nesting deeper than [0-9]+ levels' "$work/$page.out" || true)"
  printf '%-20s %9s %10d  %s\n' "$page" "$seconds" $((kilobytes / 1024)) "${message:--}"
done
