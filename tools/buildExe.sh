#!/usr/bin/env bash
# The convention of frameworks that test engines on many machines: EXE becomes the best engine for this
# processor, whose option NetFile has the default EVALFILE. Without EVALFILE the shipped network is
# copied to EXE's folder. Installs nothing.
#
#   tools/buildExe.sh PRESET EXE EVALFILE JOBS      the compiler is CXX, if set
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1 exe=$2 network=$3 jobs=$4

target=$(dirname "$exe")
[[ -d $target && -w $target ]] || { echo "make EXE=: the folder '$target' does not exist or cannot be written" >&2; exit 1; }
[[ ! -d $exe ]] || { echo "make EXE=: '$exe' is a folder" >&2; exit 1; }
if [[ -n $network ]]; then
    [[ -f $network && -r $network ]] || { echo "make EXE=: EVALFILE '$network' cannot be read" >&2; exit 1; }
    [[ $network == /* ]] || network=$PWD/$network
fi
bash tools/setup.sh --check build

compiler=${CXX-default}
folder=build/exe-${compiler##*/}
bash tools/configure.sh "$preset" "$folder" -DTARVONEL_NETWORK="$network" \
    -DTARVONEL_TESTS=OFF -DTARVONEL_BENCH=OFF -DTARVONEL_TRAINING=OFF
cmake --build "$folder" -j "$jobs" --target tarvonel
cp "$folder/tarvonel" "$exe"
[[ -n $network ]] || cp "$folder"/*.nnue "$target"
echo "The engine: $exe"
