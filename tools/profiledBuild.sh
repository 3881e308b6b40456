#!/usr/bin/env bash
# Builds the engine twice: to count which ways its code goes, and, optimised by these counts, to play
# (profile-guided optimisation). The counted run searches the positions of `bench`, which are openings,
# middle games and endings, and counts moves. What the engine plays does not change.
#
#   tools/profiledBuild.sh PRESET [JOBS]      the engine is then build/PRESET-pgo/tarvonel
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
jobs=${2:-$(nproc)}
folder=build/$preset-pgo

# The counts of each file lie beside what it is compiled to, so both stages share the folder.
buildStage() # generate or use, and what is built
{
    cmake --preset "$preset" -B "$folder" -DTARVONEL_PROFILE="$1" \
        -DTARVONEL_TESTS=OFF -DTARVONEL_BENCH=OFF -DTARVONEL_TRAINING=OFF >/dev/null
    cmake --build "$folder" -j "$jobs" --target "$2"
}

mkdir -p "$folder"
find "$folder" -name '*.gcda' -delete
buildStage generate countedRun
buildStage use tarvonel
