#!/usr/bin/env bash
# Prints the presets of the release builds that this processor can run, the fastest first.
set -euo pipefail

flags=$(grep -m1 '^flags' /proc/cpuinfo || true)

# PRESET WORDS: prints the preset if the processor has all the words (alternatives joined by |).
offer()
{
    local preset=$1 word
    shift
    for word in "$@"; do
        grep -qwE "$word" <<<"$flags" || return 0
    done
    echo "$preset"
}

offer avx512 avx512bw avx512dq avx512vl avx512_vnni bmi2
offer avx2 avx2 bmi1 'abm|lzcnt' popcnt
offer ssse3 ssse3 popcnt
offer release
offer generic
