#!/usr/bin/env bash
# Plays the engine against itself and counts crashes, illegal moves, hangs and time losses: 1 s + 0.01 s,
# standard chess and Chess960, 1 and 2 threads, with and without tablebases, one game per core.
#
#   tools/gameCampaign.sh FOLDER [GAMES [SLICE [KIND...]]]   until each KIND (default: all eight) has GAMES (1250),
#                                                            SLICE (250) at a time
#   tools/gameCampaign.sh FOLDER sum                         prints the results so far
#
# FOLDER keeps the programs of the first run and, for each slice, its games, its log, and its faults with
# the engine's last output. The number of a slice is the seed of its openings. `kill` of this process ends
# the campaign after the games in progress; the next run begins a new slice. Openings and tablebases
# come from ../shared, or from the folder that TARVONEL_TEST_DATA names.
set -euo pipefail
mkdir -p "$1"
folder=$(realpath "$1")
cd "$(dirname "$0")/.."
data=$(realpath "${TARVONEL_TEST_DATA:-../shared}")
playing=0 # the id of `match`
isEnding=0
trap 'isEnding=1; ((playing == 0)) || kill -TERM "$playing"' INT TERM

kinds=({standard,chess960}-{1,2}-{plain,tables}) # variant, threads, tables
for kind in "${@:4}"; do
    [[ " ${kinds[*]} " == *" $kind "* ]] || { echo "no kind $kind: ${kinds[*]}" >&2; exit 1; }
done
(($# < 4)) || kinds=("${@:4}")
declare -A words=(
    [standard]="--openings $data/openings/openings.epd"
    [chess960]="--openings $data/openings/openings960.epd --chess960"
    [plain]=""
    [tables]="--option SyzygyPath=$data/syzygy"
)

build() {
    bash tools/configure.sh bench build/bench
    cmake --build build/bench --target tarvonel match >"$folder/build.log" 2>&1 || { cat "$folder/build.log" >&2; exit 1; }
    cp build/bench/tarvonel build/bench/*.nnue build/bench/training/match "$folder"
}

gamesOf() { cat "$folder/$1".*.pgn 2>/dev/null | grep -c '^\[Result ' || true; }

# KIND GAMES. Faults (status 3) are counted by `sum`; any other failure ends the campaign.
playSlice() {
    local variant threads tables file slice=1 status=0 cores
    IFS=- read -r variant threads tables <<<"$1"
    cores=$(getconf _NPROCESSORS_ONLN)
    while [[ -e $folder/$1.$slice.log ]]; do ((++slice)); done
    file=$folder/$1.$slice
    echo "$(date '+%F %T') load $(cut -d ' ' -f 1-3 /proc/loadavg)" >"$file.log"
    # shellcheck disable=SC2086
    "$folder/match" --engine1 ./tarvonel --dir1 "$folder" --tc 1+0.01 --games "$2" --shuffle "$slice" --quiet \
        --option Hash=16 --option MoveOverhead=50 --option Threads="$threads" ${words[$variant]} ${words[$tables]} \
        --concurrency $((cores > threads ? cores / threads : 1)) --pgn "$file.pgn" --faults "$file.faults" \
        >>"$file.log" &
    playing=$!
    wait "$playing" || status=$?
    if ((isEnding)); then # the signal interrupts `wait` only; the games are played to their end
        status=0
        wait "$playing" || status=$?
    fi
    playing=0
    echo "$(date '+%F %T') load $(cut -d ' ' -f 1-3 /proc/loadavg)" >>"$file.log"
    ((status == 0 || status == 3 || isEnding)) || { echo "match ended with $status, see $file.log" >&2; exit 1; }
}

# Counts the faults in the games' tags, and finds the least time left on a clock from the times of the moves.
sumUp() {
    printf '%-17s %5s  %7s  %7s  %5s  %11s  %s\n' kind games crashes illegal hangs "time losses" "least time left (ms)"
    for kind in "${kinds[@]}"; do
        { cat "$folder/$kind".*.pgn 2>/dev/null || true; } | awk -v kind="$kind" -v base=1000 -v increment=10 '
            function noteLeft(left) { if (left < least) least = left }
            BEGIN { least = base }
            /^\[Result / { ++games; left[0] = left[1] = base; ply = 0 }
            /^\[Termination / {
                crashes += /went away|is not ready/
                illegal += /illegal move/
                hangs += /gave no answer/
                if (/loses on time/) { ++losses; noteLeft($NF - $(NF - 3)) } }
            !/^\[/ { for (i = 1; i <= NF; ++i)
                if ($i ~ /^[{]?[0-9.]+s[}]$/) {
                    gsub(/[{s}]/, "", $i)
                    noteLeft(left[ply % 2] -= 1000 * $i)
                    left[ply++ % 2] += increment } }
            END { printf "%-17s %5d  %7d  %7d  %5d  %11d  %.0f\n", kind, games, crashes, illegal, hangs, losses, least }'
    done
}

if [[ ${2-} != sum ]]; then
    [[ -x $folder/match ]] || build
    wanted=${2:-1250}
    for ((open = 1; open > 0;)); do # in turn, so that all kinds progress alike
        open=0
        for kind in "${kinds[@]}"; do
            left=$((wanted - $(gamesOf "$kind")))
            ((left > 0)) || continue
            slice=${3:-250}
            playSlice "$kind" $((left < slice ? left + left % 2 : slice))
            ((isEnding == 0)) || exit 130
            open=1
        done
    done
fi
sumUp
