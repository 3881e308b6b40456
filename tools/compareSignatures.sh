#!/usr/bin/env bash
# Builds the signature program for each instruction set that this processor can run and compares
# what the searches count with the number in bench/signature.txt: neither a build nor a commit that
# does not say so may change a result.
set -euo pipefail
cd "$(dirname "$0")/.."

flags=$(grep -m1 '^flags' /proc/cpuinfo || true)
# PRESET WORDS: the preset if the processor has all the words (alternatives joined by |).
runnable()
{
    local preset=$1 word
    shift
    for word in "$@"; do
        if ! grep -qwE "$word" <<<"$flags"; then
            echo "signature: this processor cannot run the $preset build, left out"
            return
        fi
    done
    presets+=("$preset")
}

presets=(release generic)
runnable ssse3 ssse3 popcnt
runnable avx2 avx2 bmi1 'abm|lzcnt' popcnt
runnable avx512 avx512bw avx512dq avx512vl avx512_vnni bmi2

pinned=$(<bench/signature.txt)
for preset in "${presets[@]}"; do
    cmake --preset "$preset" -DTARVONEL_LTO="$([[ $preset == release ]] && echo ON || echo OFF)" >/dev/null
    log=$(cmake --build --preset "$preset" --target tarvonelSignature 2>&1) || { echo "$log" >&2; exit 1; }
    output=$("build/$preset/bench/tarvonelSignature")
    signature=$(sed -n 's/^bench: //p' <<<"$output")
    echo "signature: $preset $signature, $(sed -n 's/^nodes per second: //p' <<<"$output") nodes per second"
    if [[ $signature != "$pinned" ]]; then
        echo "signature: $preset differs from $pinned in bench/signature.txt" >&2
        exit 1
    fi
done
