#!/bin/sh
# Prints the names of the builds that this processor can run, the fastest first. The launcher of an
# installed engine uses it too (tools/tarvonel.sh).

# What the processor has, in the words of Linux; macOS calls some of it otherwise.
flags=" $(sed -n '/^flags/{s/.*: //p;q;}' /proc/cpuinfo 2>/dev/null) "
if [ "$flags" = "  " ]; then
    flags=" $(sysctl -n machdep.cpu.features machdep.cpu.leaf7_features 2>/dev/null | tr '[:upper:]\n' '[:lower:] ') "
    flags=$(echo "$flags" | sed 's/avx512vnni/avx512_vnni/')
fi

# BUILD FLAG...: prints the build if the processor has all the flags.
offer()
{
    build=$1
    shift
    for flag in "$@"; do
        case $flags in
        *" $flag "*) ;;
        *) return ;;
        esac
    done
    echo "$build"
}

case $(uname -m) in
x86_64 | amd64)
    offer avx512 avx512bw avx512dq avx512vl avx512_vnni bmi2
    offer avx2 avx2 bmi1 popcnt
    offer ssse3 ssse3 popcnt
    offer sse2
    ;;
aarch64 | arm64) offer neon ;;
esac
offer generic
