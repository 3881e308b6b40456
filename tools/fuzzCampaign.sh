#!/usr/bin/env bash
# The fuzz tests in their long form, under sanitizers: console lines, network files, table files, and
# searches stopped at any moment.
#
#   tools/fuzzCampaign.sh FOLDER [KIND...]   KINDs: console network networkPlain table search; all by default
#   tools/fuzzCampaign.sh FOLDER how-far
#
# FOLDER keeps the programs of the first run, and for each kind a log and the number of seeds done. An
# interrupted run continues there; take another folder to begin again with newer code. The first finding
# ends the run of its kind. The last seed in the log reproduces it: TARVONEL_FUZZ_FIRST=SEED and
# TARVONEL_FUZZ_SEEDS=1.
set -euo pipefail
mkdir -p "$1"
folder=$(realpath "$1")
cd "$(dirname "$0")/.."
shift

# KIND: its build tree, the preset and options, the tests, the seeds of the whole campaign and of one slice.
declare -A kinds=(
    [console]="fuzz-asan|asan-ubsan|slowConsoleFuzz.*|667|4"           # 1 500 lines a seed and more
    [network]="fuzz-asan|asan-ubsan|slowNetwork.*|1000|20"             # 100 files a seed
    [networkPlain]="fuzz-plain|asan-ubsan -DTARVONEL_ARCH=generic|slowNetwork.*|200|20"
    [table]="fuzz-asan|asan-ubsan|slowTablebaseCorruption.*|34|10"     # 3 000 files a seed
    [search]="fuzz-tsan|tsan|slowSearchThreads.*|100|10"               # 10 seconds a seed and more
)
order=(table search network networkPlain console)
sliceLimit=3600 # seconds after which a slice counts as hung

# Without the consistency checks of debug builds, which take most of the time; the tests run them.
build() { # TREE PRESET...
    local tree=$1 preset=$2
    shift 2
    [[ -x $folder/$tree ]] && return
    cmake --preset "$preset" -B "build/$tree" -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1 -DNDEBUG" "$@" >/dev/null
    cmake --build "build/$tree" --target tarvonelTests >"$folder/$tree.build" 2>&1 || { cat "$folder/$tree.build" >&2; exit 1; }
    cp "build/$tree/tests/tarvonelTests" "$folder/$tree"
}

seedsDone() { cat "$folder/$1.done" 2>/dev/null || echo 0; }

runKind() {
    local kind=$1 tree configuration tests wanted slice first
    IFS='|' read -r tree configuration tests wanted slice <<<"${kinds[$kind]}"
    # shellcheck disable=SC2086
    build "$tree" $configuration
    while first=$(($(seedsDone "$kind") + 1)) && ((first <= wanted)); do
        ((slice <= wanted - first + 1)) || slice=$((wanted - first + 1))
        echo "--- seeds $first to $((first + slice - 1)), $(date '+%F %T')" >>"$folder/$kind.log"
        TARVONEL_FUZZ_FIRST=$first TARVONEL_FUZZ_SEEDS=$slice timeout "$sliceLimit" nice -n 10 \
            bash tools/withoutAddressRandomisation.sh "$folder/$tree" --gtest_brief=1 --gtest_filter="$tests" \
            >>"$folder/$kind.log" 2>&1 || { echo "FINDING: see $folder/$kind.log" >&2; return 1; }
        echo $((first + slice - 1)) >"$folder/$kind.done"
    done
}

chosen=("${@:-${order[@]}}")
if [[ ${1-} == how-far ]]; then
    for kind in "${order[@]}"; do
        IFS='|' read -r _ _ tests wanted _ <<<"${kinds[$kind]}"
        echo "$kind: $(seedsDone "$kind") of $wanted seeds of $tests"
    done
    exit
fi
for kind in "${chosen[@]}"; do
    runKind "$kind"
done
