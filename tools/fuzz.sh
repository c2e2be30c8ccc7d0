#!/usr/bin/env bash
# Builds the fuzzer (the fuzz preset: clang, ASan + UBSan) and runs it for the given
# number of seconds (default 60) from the committed seed corpus. New inputs go to
# build/fuzz/corpus; a crash leaves its input in build/fuzz/ and fails the script.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
tools/deps.sh clang libclang-rt-14-dev >/dev/null
mkdir -p build
if ! cmake --workflow --preset fuzz >build/fuzz-build.log 2>&1; then
  grep -E 'error|FAILED' build/fuzz-build.log | head -n 20
  echo "fuzzer build failed; see build/fuzz-build.log"
  exit 1
fi
mkdir -p build/fuzz/corpus
rc=0
build/fuzz/fuzz/rkpix_fuzz build/fuzz/corpus fuzz/corpus -max_total_time="$seconds" \
  -print_final_stats=1 -artifact_prefix=build/fuzz/ >build/fuzz/last-run.log 2>&1 || rc=$?
grep -E '^(stat::number_of_executed_units|stat::average_exec_per_sec|Done)|ERROR|SUMMARY|differs|wrote outside' \
  build/fuzz/last-run.log || true
if [ "$rc" -ne 0 ]; then
  tail -n 40 build/fuzz/last-run.log
  echo "fuzzer failed (exit $rc); see build/fuzz/last-run.log"
fi
exit "$rc"
