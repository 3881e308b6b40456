#!/usr/bin/env bash
# Games in which nothing may go wrong: the engine against itself by a clock of 1 s + 0.01 s, standard
# chess and Chess960, with 1 and 2 threads, with and without endgame tables, one game for each core.
#
#   tools/gameCampaign.sh FOLDER [GAMES [SLICE [KIND...]]]   until each of the kinds, all eight if none is told, has
#                                                            GAMES (1250), SLICE (250) at a time
#   tools/gameCampaign.sh FOLDER sum                         what came of it
#
# FOLDER keeps the programs as they were built for the first run and, for each slice, its games, its
# log, and its faults with the engine's last words. The number of a slice draws its openings. `kill` of
# this process ends the campaign with the games that are being played; the next run goes on with a
# new slice. Openings and tables come from ../shared, or from the folder that TARVONEL_TEST_DATA names.
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
    cmake --preset release >/dev/null
    cmake --build --preset release --target tarvonel match >"$folder/build.log" 2>&1 || { cat "$folder/build.log" >&2; exit 1; }
    cp build/release/tarvonel build/release/*.nnue build/release/training/match "$folder"
}

gamesOf() { cat "$folder/$1".*.pgn 2>/dev/null | grep -c '^\[Result ' || true; }

# KIND GAMES. Faults (status 3) are for the sum to tell; anything else ends the campaign.
playSlice() {
    local variant threads tables file slice=1 status=0 cores
    IFS=- read -r variant threads tables <<<"$1"
    cores=$(nproc)
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
    if ((isEnding)); then # a signal only ends the waiting; the games go on to their end
        status=0
        wait "$playing" || status=$?
    fi
    playing=0
    echo "$(date '+%F %T') load $(cut -d ' ' -f 1-3 /proc/loadavg)" >>"$file.log"
    ((status == 0 || status == 3 || isEnding)) || { echo "match ended with $status, see $file.log" >&2; exit 1; }
}

# What the games' tags tell, and from the times behind the moves the least that a clock ever had left.
sumUp() {
    printf '%-17s %5s  %7s  %7s  %5s  %11s  %s\n' kind games crashes illegal hangs "time losses" "least time left (ms)"
    for kind in "${kinds[@]}"; do
        { cat "$folder/$kind".*.pgn 2>/dev/null || true; } | awk -v kind="$kind" -v base=1000 -v increment=10 '
            function tell(left) { if (left < least) least = left }
            BEGIN { least = base }
            /^\[Result / { ++games; left[0] = left[1] = base; ply = 0 }
            /^\[Termination / {
                crashes += /went away|is not ready/
                illegal += /illegal move/
                hangs += /gave no answer/
                if (/loses on time/) { ++losses; tell($NF - $(NF - 3)) } }
            !/^\[/ { for (i = 1; i <= NF; ++i)
                if ($i ~ /^[{]?[0-9.]+s[}]$/) {
                    gsub(/[{s}]/, "", $i)
                    tell(left[ply % 2] -= 1000 * $i)
                    left[ply++ % 2] += increment } }
            END { printf "%-17s %5d  %7d  %7d  %5d  %11d  %.0f\n", kind, games, crashes, illegal, hangs, losses, least }'
    done
}

if [[ ${2-} != sum ]]; then
    [[ -x $folder/match ]] || build
    wanted=${2:-1250}
    for ((open = 1; open > 0;)); do # in turn, so that each kind has its share at any time
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
