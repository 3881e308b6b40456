#!/usr/bin/env bash
# Holds the source to the house's floors:
#   includes run downwards only, and not between folders of one floor;
#   the system's headers are included in platform/ alone;
#   vector instructions stand in eval/simd*.h alone;
#   standard output is written in platform/output.cpp alone.
set -euo pipefail
cd "$(dirname "$0")/../src"

floors='platform=0 board=1 movegen=2 eval=2 tablebase=2 search=3 tuner=4 uci=5'

complaints=$(
    grep -rnE '^ *# *include *"' . | sed 's|^\./||' | awk -v floors="$floors" '
        BEGIN {
            count = split(floors, pairs, " ")
            for (i = 1; i <= count; ++i) { split(pairs[i], pair, "="); floorOf[pair[1]] = pair[2] }
        }
        {
            from = $0; sub("/.*", "", from)
            to = $0; sub("[^\"]*\"", "", to); sub("\".*", "", to); sub("/.*", "", to)
            if (!(from in floorOf) || !(to in floorOf))
                print $0 "  <- a folder without a floor"
            else if (from != to && floorOf[to] >= floorOf[from])
                print $0 "  <- climbs from " from " to " to
        }'
    grep -rnE '# *include *<(windows|unistd|fcntl|sched|pthread|sys/)' . | grep -v '^\./platform/' | sed 's/$/  <- belongs into platform/' || true
    grep -rnE '(imm|emm|xmm|smm|tmm|nmm|pmm)intrin\.h|\b_mm(256|512)?_|\barm_neon' . | grep -vE '^\./eval/simd[A-Z]?[A-Za-z0-9]*\.h' | sed 's/$/  <- belongs into eval\/simd*.h/' || true
    grep -rnE 'std::cout|\bprintf *\(|\bputs *\(|\bstdout\b' . | grep -v '^\./platform/output\.cpp' | sed 's/$/  <- belongs into platform\/output.cpp/' || true
)

if [[ -n $complaints ]]; then
    printf '%s\n' "$complaints" >&2
    exit 1
fi
echo "layers: all includes run downwards"
