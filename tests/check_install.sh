#!/usr/bin/env bash
# Installs the build tree into a scratch prefix, then builds and runs a small C
# program against it twice: through the CMake package and through pkg-config.
set -euo pipefail
build="$1"
src="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
export LD_LIBRARY_PATH="$work/prefix/lib:${LD_LIBRARY_PATH:-}"
cmake -S "$src/consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"
export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig"
# shellcheck disable=SC2046
cc -std=c89 -o "$work/pc-consumer" "$src/c_consumer.c" $(pkg-config --cflags --libs rkpix)
"$work/pc-consumer"
# The examples, as a user builds them against the installed header and library.
for example in "$src"/../examples/*.c; do
  # shellcheck disable=SC2046
  cc -std=c99 -Wall -Wextra -Werror -pedantic -o "$work/example" "$example" $(pkg-config --cflags --libs rkpix)
  "$work/example" >/dev/null
done
