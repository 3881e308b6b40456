#!/usr/bin/env bash
# Builds the signature program and the tests of the evaluation for each instruction set that this
# processor can run, runs the tests and compares what the searches count with the number in
# bench/signature.txt: neither a build nor a commit that does not say so may change a result.
set -euo pipefail
cd "$(dirname "$0")/.."

pinned=$(<bench/signature.txt)
for preset in $(tools/runnableBuilds.sh); do
    cmake --preset "$preset" -DTARVONEL_LTO="$([[ $preset == release ]] && echo ON || echo OFF)" >/dev/null
    log=$(cmake --build --preset "$preset" --target tarvonelSignature tarvonelEvalTests 2>&1) || { echo "$log" >&2; exit 1; }
    "build/$preset/tests/tarvonelEvalTests" --gtest_brief=1
    output=$("build/$preset/bench/tarvonelSignature")
    signature=$(sed -n 's/^bench: //p' <<<"$output")
    echo "signature: $preset $signature, $(sed -n 's/^nodes per second: //p' <<<"$output") nodes per second"
    if [[ $signature != "$pinned" ]]; then
        echo "signature: $preset differs from $pinned in bench/signature.txt" >&2
        exit 1
    fi
done
