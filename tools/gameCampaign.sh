#!/usr/bin/env bash
# Games in which nothing may go wrong: the engine against itself by a clock of 1 s + 0.01 s, standard
# chess and Chess960, with 1 and 2 threads, with and without endgame tables, one game for each core.
#
#   tools/gameCampaign.sh FOLDER [GAMES [SLICE]]   plays until each of the eight kinds has GAMES (1250), SLICE (250) a call
#   tools/gameCampaign.sh FOLDER sum               what came of it
#
# FOLDER keeps the programs as they were built for the first call and, for each slice, its games, its faults
# with the engine's last words, and its log. Openings of a slice are drawn by its number. A campaign that was
# cut off goes on with a new slice; not a game is lost. Openings and tables come from ../shared, or from
# the folder that TARVONEL_TEST_DATA names.
set -euo pipefail
mkdir -p "$1"
folder=$(realpath "$1")
cd "$(dirname "$0")/.."
data=$(realpath "${TARVONEL_TEST_DATA:-../shared}")

declare -A words=(
    [standard]="--openings $data/openings/openings.epd" [chess960]="--chess960 --openings $data/openings/openings960.epd"
    [1]="--option Threads=1" [2]="--option Threads=2"
    [plain]="" [tables]="--option SyzygyPath=$data/syzygy"
)
cores=$(nproc)

build() {
    cmake --preset release >/dev/null
    cmake --build --preset release --target tarvonel match >"$folder/build.log" 2>&1 || { cat "$folder/build.log" >&2; exit 1; }
    cp build/release/tarvonel build/release/*.nnue build/release/training/match "$folder"
}

gamesOf() { cat "$folder/$1".*.pgn 2>/dev/null | grep -c '^\[Result ' || true; }

# KIND GAMES: one slice of an even number of games. Faults are for the sum to tell; anything else ends the campaign.
playSlice() {
    local variant threads tables slice=1 status=0
    IFS=- read -r variant threads tables <<<"$1"
    while [[ -e $folder/$1.$slice.log ]]; do ((++slice)); done
    # shellcheck disable=SC2086
    "$folder/match" --engine1 ./tarvonel --dir1 "$folder" --tc 1+0.01 --option Hash=16 --option MoveOverhead=50 \
        ${words[$variant]} ${words[$threads]} ${words[$tables]} --shuffle "$slice" --games "$2" --quiet \
        --concurrency $((cores > threads ? cores / threads : 1)) --pgn "$folder/$1.$slice.pgn" \
        --faults "$folder/$1.$slice.faults" >"$folder/$1.$slice.log" || status=$?
    ((status == 0 || status == 3)) || { echo "match ended with $status, see $folder/$1.$slice.log" >&2; exit 1; }
}

# What the games' tags tell, and from the times behind the moves how little a clock ever had left.
sumUp() {
    printf '%-20s %6s %8s %8s %6s %12s  %s\n' kind games crashes illegal hangs "time losses" "least left on a clock (ms)"
    for kind in "$@"; do
        cat "$folder/$kind".*.pgn 2>/dev/null | awk -v kind="$kind" -v base=1000 -v increment=10 '
            /^\[Result /      { ++games; left[0] = left[1] = base; ply = 0 }
            /went away|is not ready/ && /^\[Termination/ { ++crashes }
            /illegal move/    && /^\[Termination/ { ++illegal }
            /gave no answer/  && /^\[Termination/ { ++hangs }
            /loses on time/   && /^\[Termination/ { ++losses; over = $(NF - 3) - $NF; if (-over < least) least = -over }
            !/^\[/ { for (i = 1; i <= NF; ++i) if ($i ~ /^[{]?[0-9.]+s[}]$/) {
                sub(/^[{]/, "", $i)
                left[ply % 2] -= 1000 * substr($i, 1, length($i) - 2)
                if (left[ply % 2] < least) least = left[ply % 2]
                left[ply++ % 2] += increment } }
            BEGIN { least = base }
            END { printf "%-20s %6d %8d %8d %6d %12d  %.0f\n", kind, games, crashes, illegal, hangs, losses, least }'
    done
}

kinds=({standard,chess960}-{1,2}-{plain,tables})
if [[ ${2-} == sum ]]; then
    sumUp "${kinds[@]}"
    exit
fi
wanted=${2:-1250}
sliceGames=${3:-250}
[[ -x $folder/match ]] || build
for ((played = 1; played > 0;)); do # round and round, so that each kind has its share at any time
    played=0
    for kind in "${kinds[@]}"; do
        left=$((wanted - $(gamesOf "$kind")))
        ((left > 0)) || continue
        playSlice "$kind" $((left < sliceGames ? left + left % 2 : sliceGames))
        ((++played))
    done
done
sumUp "${kinds[@]}"
