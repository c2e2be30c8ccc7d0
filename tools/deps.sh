#!/usr/bin/env bash
# Installs the Debian packages the build, tests, demo and benchmarks need, when missing.
# Extra package names may be given as arguments; a name ending in :i386 (wine32:i386, say)
# enables the i386 architecture first.
set -euo pipefail
packages=(cmake ninja-build g++ pkg-config libgtest-dev libbenchmark-dev libpng-dev clang-format)
packages+=("$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive

if printf '%s\n' "${missing[@]}" | grep -q ':i386$' && ! dpkg --print-foreign-architectures | grep -qx i386; then
  $SUDO dpkg --add-architecture i386
fi

# An index whose download fails (a mirror caught mid-sync sends a file of another size)
# is fetched once more without the size check and put where apt keeps its lists, so
# the packages of both architectures resolve to the same versions.
update_log=$(mktemp)
$SUDO apt-get update -qq 2>&1 | tee "$update_log" || true
for url in $(grep -oE 'Failed to fetch [^ ]+' "$update_log" | awk '{print $4}' | sort -u); do
  case "$url" in *Packages.xz) ;; *) continue ;; esac
  list=/var/lib/apt/lists/$(echo "${url%.xz}" | sed -E 's#^[a-z]+://##; s#/#_#g')
  echo "refetching $url"
  if curl -fsS "$url" | xz -dc | $SUDO tee "$list" >/dev/null; then :; else echo "could not refetch $url"; fi
done
rm -f "$update_log"

# apt's resolver gives up on some multiarch sets it can install when the dependencies
# are named; name the ones it reports and try again.
want=("${missing[@]}")
for _ in 1 2 3 4 5 6 7 8; do
  if out=$($SUDO apt-get install -y -qq "${want[@]}" 2>&1); then
    exit 0
  fi
  extra=$(echo "$out" | grep -oE 'Depends: [a-z0-9.+-]+:i386' | awk '{print $2}' | sort -u)
  [ -z "$extra" ] && break
  want+=($extra)
done
echo "$out" >&2
exit 1
