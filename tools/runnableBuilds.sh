#!/bin/sh
# Prints the names of the builds that this processor can run, the fastest first. An installed engine is
# chosen by it too (tools/tarvonel.sh).

flags=" $(sed -n '/^flags/{s/.*: //p;q;}' /proc/cpuinfo 2>/dev/null) "

# BUILD WORDS: prints the build if the processor has all the words.
offer()
{
    build=$1
    shift
    for word in "$@"; do
        case $flags in
        *" $word "*) ;;
        *) return ;;
        esac
    done
    echo "$build"
}

case $(uname -m) in
x86_64)
    offer avx512 avx512bw avx512dq avx512vl avx512_vnni bmi2
    offer avx2 avx2 bmi1 popcnt
    offer ssse3 ssse3 popcnt
    offer sse2
    ;;
aarch64) offer neon ;;
esac
offer generic
