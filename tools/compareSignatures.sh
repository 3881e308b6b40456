#!/usr/bin/env bash
# Builds the signature program and compares what its search counts with the number in
# bench/signature.txt: neither a build nor a commit that does not say so may change a result.
#
#   tools/compareSignatures.sh [PRESET ...]
#
# Without presets: those of all instruction sets that this processor can run, with the tests of the
# evaluation. Builds for another system run under an emulator (cmake/*.cmake).
set -euo pipefail
cd "$(dirname "$0")/.."

pinned=$(<bench/signature.txt)

# PRESET TARGET: builds it, and tells what went wrong.
build()
{
    local log
    log=$(cmake --build --preset "$1" --target "$2" 2>&1) || { echo "$log" >&2; exit 1; }
}

compare() # PRESET
{
    local lto=OFF output signature
    [[ $1 == release ]] && lto=ON # as everyday work has it
    cmake --preset "$1" -DTARVONEL_LTO=$lto >/dev/null
    build "$1" tarvonelSignature
    output=$(cmake --build --preset "$1" --target signature)
    signature=$(sed -n 's/^bench: \([0-9]*\).*/\1/p' <<<"$output")
    echo "signature: $1 $signature, $(sed -n 's/^nodes per second: \([0-9]*\).*/\1/p' <<<"$output") nodes per second"
    if [[ $signature != "$pinned" ]]; then
        echo "signature: $1 differs from $pinned in bench/signature.txt" >&2
        exit 1
    fi
}

for preset in "$@"; do
    compare "$preset"
done
[[ $# -eq 0 ]] || exit 0
for preset in $(tools/runnableBuilds.sh | sed 's/^sse2$\|^neon$/release/'); do
    compare "$preset"
    build "$preset" tarvonelEvalTests
    "build/$preset/tests/tarvonelEvalTests" --gtest_brief=1
done
