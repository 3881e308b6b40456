#!/usr/bin/env bash
# Checks the layers of the source:
#   includes point to lower layers only, and not between modules of one layer;
#   system headers are included in platform/ only;
#   vector instructions are used in eval/simd*.h only;
#   standard output is written in platform/output.cpp only.
#
#   tools/checkLayers.sh              checks, after trying itself
#   tools/checkLayers.sh SRC          checks the folder SRC
set -euo pipefail
cd "$(dirname "$0")/.."

layers='platform=0 board=1 movegen=2 eval=2 tablebase=2 search=3 tuner=4 uci=5'

findings() # SRC
{
    cd "$1"
    grep -rnE '^ *# *include *"' . | sed 's|^\./||' | awk -v layers="$layers" '
        BEGIN {
            count = split(layers, pairs, " ")
            for (i = 1; i <= count; ++i) { split(pairs[i], pair, "="); layerOf[pair[1]] = pair[2] }
        }
        {
            from = $0; sub("/.*", "", from)
            to = $0; sub("[^\"]*\"", "", to); sub("\".*", "", to); sub("/.*", "", to)
            if (!(from in layerOf) || !(to in layerOf))
                print $0 "  <- a folder without a layer"
            else if (from != to && layerOf[to] >= layerOf[from])
                print $0 "  <- " from " must not include " to
        }'
    grep -rnE '# *include *<(windows|unistd|fcntl|sched|pthread|sys/)' . | grep -v '^\./platform/' | sed 's/$/  <- belongs into platform/' || true
    grep -rnE '(imm|emm|xmm|smm|tmm|nmm|pmm)intrin\.h|\b_mm(256|512)?_|\barm_neon' . | grep -vE '^\./eval/simd[A-Z]?[A-Za-z0-9]*\.h' | sed 's/$/  <- belongs into eval\/simd*.h/' || true
    grep -rnE 'std::cout|\bprintf *\(|\bputs *\(|\bstdout\b' . | grep -v '^\./platform/output\.cpp' | sed 's/$/  <- belongs into platform\/output.cpp/' || true
}

# The check must find each forbidden line, one per file, and none of the allowed ones.
tryItself()
{
    local folder order from to expected=0 found
    folder=$(mktemp -d)
    trap 'rm -rf "$folder"' RETURN
    order=(platform board movegen eval tablebase search tuner uci)
    for from in "${!order[@]}"; do
        mkdir "$folder/${order[from]}"
        for to in "${!order[@]}"; do
            echo "#include \"${order[to]}/some.h\"" >"$folder/${order[from]}/${order[to]}.h"
            # Below the diagonal is allowed, but movegen, eval and tablebase are one layer.
            if ((to > from)) || ((from >= 2 && from <= 4 && to >= 2 && to < from)); then expected=$((expected + 1)); fi
        done
    done
    echo '#include <unistd.h>' >"$folder/search/system.cpp"
    echo '_mm256_add_epi16(a, b);' >"$folder/eval/vectors.cpp"
    echo 'std::cout << 1;' >"$folder/uci/output.cpp"
    echo '#include "misc/some.h"' >"$folder/uci/unknown.cpp"
    echo '#include <immintrin.h>' >"$folder/eval/simdAvx2.h"
    echo '#include <unistd.h>' >"$folder/platform/system.cpp"
    echo 'std::cout << 1;' >"$folder/platform/output.cpp"
    found=$( (findings "$folder") | wc -l)
    ((found == expected + 4)) || { echo "layers: the check itself is broken: $found findings instead of $((expected + 4))" >&2; exit 1; }
}

[[ $# -gt 0 ]] || tryItself
found=$( (findings "${1-src}"))
if [[ -n $found ]]; then
    printf '%s\n' "$found" >&2
    exit 1
fi
echo "layers: all includes point down"
