#!/usr/bin/env bash
# Counts what each export's call executes on aarch64 (the NEON fast paths and the reference
# walks) under qemu, with llvm-mca's cycle estimate of the fast path's instruction stream,
# and writes docs/neon.md. There is no ARM machine here to time; see tools/neon_count.py for
# what the figures are. Extra arguments go to neon_count.py (e.g. --filter=RkTrans, which
# prints the table instead of writing the doc). A whole run takes about half an hour.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
tools/deps.sh qemu-user g++-aarch64-linux-gnu llvm
cmake --preset arm64-count >/dev/null
cmake --build build/arm64-count -j2 --target rkpix_count
if [ $# -gt 0 ]; then
  exec python3 tools/neon_count.py build/arm64-count/bench/rkpix_count "$@"
fi
table=$(python3 tools/neon_count.py build/arm64-count/bench/rkpix_count)
{
  cat <<'HEAD'
# What each export executes on aarch64

Counted, not timed: there is no ARM machine where these figures were taken, and an emulator's
timings mean nothing. `tools/neon_count.sh` runs each benchmark's call (the same setups as
`docs/speed.md`, 640 pixels a row) in the aarch64 build under qemu-aarch64, which logs every
instruction it executes, and keeps the rows between a picture of 8 rows and one of 16 (so that
what a call does once, or on its last row, is left out):

- **instr/px:** instructions executed per pixel, at the `neon` level (the fast paths), at `ref`
  (the reference walks), and for the baseline, a memcpy of the same rectangle (the C library's);
- **cycles/px:** llvm-mca's estimate of the cycles the executed instruction stream takes on a
  Neoverse N1 model, with every load an L1 hit and no branch mispredicted. That leaves memory out:
  it is a compute-only figure, optimistic for the memcpy, which on large pictures is bound by
  memory. **x_memcpy (model)** is the ratio of the two estimates, the model's counterpart of the
  benchmark's x_memcpy, and so higher than a timed one would be where a kernel keeps up with
  memory.

HEAD
  echo "$table"
} >docs/neon.md
echo "wrote docs/neon.md"
