#!/usr/bin/env bash
# Times rkpix side by side with SDL2, pixman and libyuv and writes docs/compare.md, the chart's
# data docs/compare.dat and the chart docs/images/compare.png. Needs libsdl2-dev,
# libpixman-1-dev, libyuv-dev and gnuplot (tools/deps.sh libsdl2-dev libpixman-1-dev libyuv-dev
# gnuplot-nox). Extra arguments go to the program, e.g. --rounds 31 --sizes 1920x1080.
# Run it on a quiet machine: the figures are only as steady as the load allows.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${RKPIX_BUILD_DIR:-$root/build/release}
cd "$root"
[ -f "$build/CMakeCache.txt" ] || cmake --preset release
cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" -j2 --target rkpix_compare
mkdir -p docs/images
"$build/bench/compare/rkpix_compare" --md docs/compare.md --dat docs/compare.dat "$@"
gnuplot <<'PLOT'
set terminal pngcairo size 1400,560 font "sans,10"
set output "docs/images/compare.png"
set title "rkpix and its peers, 1920x1080, one thread (Mpix/s, log scale; higher is better)"
set datafile missing "-"
set style data histograms
set style histogram clustered gap 1
set style fill solid 0.85 border -1
set boxwidth 0.9
set logscale y
set yrange [100:*]
set ytics nomirror
set grid ytics
set xtics rotate by 30 right nomirror
set key top right horizontal
set bmargin 6
plot "docs/compare.dat" using 2:xtic(1) title "rkpix" linecolor rgb "#c0392b", \
     "" using 3 title "SDL2" linecolor rgb "#2e86c1", \
     "" using 4 title "pixman" linecolor rgb "#28b463", \
     "" using 5 title "libyuv" linecolor rgb "#7d3c98"
PLOT
echo "wrote docs/compare.md, docs/compare.dat, docs/images/compare.png"
