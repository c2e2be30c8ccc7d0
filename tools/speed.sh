#!/usr/bin/env bash
# Times every export at each fast level this CPU runs (the project's benchmark, 640x480 and
# 1920x1080) and writes docs/speed.md: x_memcpy per export and level, the bar it is held to,
# and bold where it is over. Extra arguments go to the benchmark (e.g. --benchmark_filter=RkTrans).
# RKPIX_SPEED_JSON=DIR keeps the benchmark JSON files there. Run it on a quiet machine:
# the figures are only as steady as the load allows.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${RKPIX_BUILD_DIR:-$root/build/release}
cd "$root"
[ -f "$build/CMakeCache.txt" ] || cmake --preset release
cmake --build "$build" -j2 --target rkpix_bench
out=${RKPIX_SPEED_JSON:-$(mktemp -d)}  # where the benchmark JSON files go
mkdir -p "$out"
levels=$("$build/bench/rkpix_bench" --benchmark_list_tests=true --list-levels 2>/dev/null | sed -n 's/^levels: //p')
files=()
for l in $levels; do
  [ "$l" = ref ] && continue
  echo "timing level $l"
  "$build/bench/rkpix_bench" --level="$l" --benchmark_min_time=0.1 --benchmark_repetitions=3 \
    --benchmark_report_aggregates_only=true --benchmark_format=json \
    --benchmark_out="$out/speed_$l.json" "$@" >/dev/null
  files+=("$out/speed_$l.json")
done
cpu=$(sed -n "s/^model name[[:space:]]*: //p" /proc/cpuinfo 2>/dev/null | head -1)
python3 tools/speed_table.py "$(uname -m)${cpu:+, $cpu}" "${files[@]}" >docs/speed.md
echo "wrote docs/speed.md"
