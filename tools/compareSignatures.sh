#!/usr/bin/env bash
# Builds the signature program for each instruction set that this processor can run and compares
# what the searches count with the number in bench/signature.txt: neither a build nor a commit that
# does not say so may change a result.
set -euo pipefail
cd "$(dirname "$0")/.."

presets=(release generic)
if grep -qw avx2 /proc/cpuinfo && grep -qw bmi1 /proc/cpuinfo && grep -qwE 'abm|lzcnt' /proc/cpuinfo; then
    presets+=(avx2)
else
    echo "signature: this processor cannot run the avx2 build, left out"
fi

pinned=$(<bench/signature.txt)
for preset in "${presets[@]}"; do
    cmake --preset "$preset" -DTARVONEL_LTO="$([[ $preset == release ]] && echo ON || echo OFF)" >/dev/null
    cmake --build --preset "$preset" --target tarvonelSignature >/dev/null
    output=$("build/$preset/bench/tarvonelSignature")
    signature=$(sed -n 's/^bench: //p' <<<"$output")
    echo "signature: $preset $signature, $(sed -n 's/^nodes per second: //p' <<<"$output") nodes per second"
    if [[ $signature != "$pinned" ]]; then
        echo "signature: $preset differs from $pinned in bench/signature.txt" >&2
        exit 1
    fi
done
