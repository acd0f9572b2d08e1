#!/bin/sh
# Runs the programs of quince_bench in Quince and the same programs in Lua 5.4,
# and prints their processor times side by side (milliseconds, best of three;
# ratio = Quince / Lua, below 1 when Quince is faster).
# Usage: bench/quince_vs_lua.sh [BUILD_DIR]   (default: build-bench, configured here)
# Installs lua5.4 with apt-get when it is missing.
set -eu

here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-"$here/build-bench"}

if ! command -v lua5.4 >/dev/null 2>&1; then
    echo "Installing lua5.4 ..." >&2
    sudo=""
    if [ "$(id -u)" != 0 ] && command -v sudo >/dev/null 2>&1; then sudo=sudo; fi
    $sudo apt-get install -y lua5.4 >/dev/null 2>&1 || { $sudo apt-get update >/dev/null && $sudo apt-get install -y lua5.4 >/dev/null; }
fi

if [ ! -x "$build/bench/quince_bench" ]; then
    cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEXL_BENCH=ON -DVEXL_TESTS=OFF >/dev/null
    ninja -C "$build" quince_bench >/dev/null
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Each Lua program prints its own processor time in milliseconds.
cat > "$scratch/loop.lua" <<'LUA'
local start = os.clock()
local sum = 0
for i = 1, 10000000 do
  sum = (sum + i * 3) % 1000003
end
assert(sum == 1305)
print((os.clock() - start) * 1000)
LUA
# The same program as in Quince: a string grown by appending to itself.
cat > "$scratch/append_100000.lua" <<'LUA'
local start = os.clock()
local s = ""
for i = 1, 100000 do
  s = s .. "x"
end
assert(#s == 100000)
print((os.clock() - start) * 1000)
LUA
# Lua's own idiom for building a text: a table of pieces, joined once.
for n in 100000 1000000; do
cat > "$scratch/buffer_$n.lua" <<LUA
local start = os.clock()
local t = {}
for i = 1, $n do
  t[#t + 1] = "x"
end
assert(#table.concat(t) == $n)
print((os.clock() - start) * 1000)
LUA
done

# A table with string keys: 1,000,000 insertions, then as many lookups.
cat > "$scratch/map.lua" <<'LUA'
local start = os.clock()
local m = {}
for i = 1, 1000000 do
  m["k" .. i] = i
end
local sum = 0
for i = 1, 1000000 do
  sum = (sum + m["k" .. i]) % 1000003
end
assert(sum == 3)
print((os.clock() - start) * 1000)
LUA

best_of_three() {  # command... ; the command prints milliseconds
    for run in 1 2 3; do "$@"; done | awk 'NR == 1 || $1 < best { best = $1 } END { printf "%.1f", best }'
}
quince() { "$build/bench/quince_bench" "$1" | awk '{ print $2 }'; }

row() {  # name quince_ms lua_ms
    ratio=$(awk -v q="$2" -v l="$3" 'BEGIN { if (l > 0) printf "%.2f", q / l; else print "-" }')
    printf '%-34s %10s %10s %7s\n' "$1" "$2" "$3" "$ratio"
}

printf '%-34s %10s %10s %7s\n' "program" "Quince ms" "Lua ms" "ratio"
row "loop, 10,000,000 passes" "$(best_of_three quince loop_10M)" "$(best_of_three lua5.4 "$scratch/loop.lua")"
row "map, 1,000,000 inserts and lookups" "$(best_of_three quince map_1M)" "$(best_of_three lua5.4 "$scratch/map.lua")"
q100k=$(best_of_three quince append_100K)
q1m=$(best_of_three quince append_1M)
row "append 100,000 (s = s + \"x\")" "$q100k" "$(best_of_three lua5.4 "$scratch/append_100000.lua")"
row "append 100,000 (Lua: table.concat)" "$q100k" "$(best_of_three lua5.4 "$scratch/buffer_100000.lua")"
row "append 1,000,000 (Lua: table.concat)" "$q1m" "$(best_of_three lua5.4 "$scratch/buffer_1000000.lua")"
echo "Quince grows a string in place: 1,000,000 appends take $q1m ms, 100,000 take $q100k ms."
echo "(Lua's s = s .. \"x\" copies the whole text at each append, so it is timed at 100,000 only.)"
