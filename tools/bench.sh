#!/usr/bin/env bash
# Prints the two node counts that identify a build, its speed, and timings of the engine's parts.
#
#   tools/bench.sh FOLDER      a build folder of the preset bench
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$1

echo "The command bench, with the default network (the README has its nodes):"
(cd "$folder" && ./tarvonel bench | tail -1)
echo "Search signature, with a synthetic network (bench/signature.txt has its nodes):"
"$folder/bench/tarvonelSignature" | sed -n 's/^bench: \(.*\)/\1 nodes/p'
echo "Timings:"
"$folder/bench/tarvonelBench" --benchmark_counters_tabular=true
