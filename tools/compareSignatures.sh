#!/usr/bin/env bash
# Builds the signature program for several instruction sets and compares the node counts with
# bench/signature.txt: no build, and no commit that does not say so, may change a result.
#
#   tools/compareSignatures.sh [PRESET ...]
#
# Without presets: those of all instruction sets that this processor can run, each with the tests of the
# evaluation, where SSE2 is the preset test. Builds for another system run under an emulator (cmake/*.cmake).
set -euo pipefail
cd "$(dirname "$0")/.."

expected=$(<bench/signature.txt)

build() # FOLDER TARGET
{
    local log
    log=$(cmake --build "$1" --target "$2" 2>&1) || { echo "$log" >&2; exit 1; }
}

compare() # PRESET FOLDER [OPTION ...]
{
    local preset=$1 folder=$2 output signature
    shift 2
    bash tools/configure.sh "$preset" "$folder" ${WERROR:+-DTARVONEL_WERROR=$WERROR} "$@"
    build "$folder" tarvonelSignature
    output=$(cmake --build "$folder" --target signature)
    signature=$(sed -n 's/^bench: \([0-9]*\).*/\1/p' <<<"$output")
    echo "signature: $preset $signature, $(sed -n 's/^nodes per second: \([0-9]*\).*/\1/p' <<<"$output") nodes per second"
    if [[ $signature != "$expected" ]]; then
        echo "signature: $preset differs from $expected in bench/signature.txt" >&2
        exit 1
    fi
}

# Files compiled together, a dozen at a time, take half the time.
quickly=(-DTARVONEL_LTO=OFF -DTARVONEL_TRAINING=OFF -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=12)

for preset in "$@"; do
    compare "$preset" "build/$preset" "${quickly[@]}" -DTARVONEL_TESTS=OFF
done
[[ $# -eq 0 ]] || exit 0
compare test build/test -DTARVONEL_BENCH=ON
for preset in $(sh tools/runnableBuilds.sh | grep -v '^sse2$'); do
    compare "$preset" "build/$preset" "${quickly[@]}" -DTARVONEL_TESTS=ON
    build "build/$preset" tarvonelEvalTests
    "build/$preset/tests/tarvonelEvalTests" --gtest_brief=1
done
