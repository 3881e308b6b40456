#!/usr/bin/env bash
# The training programs from the command line: self-play killed and resumed, training interrupted and
# resumed, a match, and the conversion of its games.
#
#   programs.sh FOLDER_OF_THE_PROGRAMS
set -euo pipefail
PATH=$1:$PATH
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

fail() { echo "programs.sh: $1" >&2; cat log >&2; exit 1; }
await() { for ((i = 0; i < 600; ++i)); do grep -qs "$1" "$2" && return; sleep 0.05; done; fail "no '$1' in $2"; }
expect() { grep -q "$1" log || fail "no '$1'"; }

play=(selfplay --quick --hand-set --processes 2 --longest 120 --out games)
"${play[@]}" --positions 1000000000 >log 2>&1 &
await TVG1 games.1
kill -KILL $!
{ wait $! || true; } 2>/dev/null
flock games.0 truncate --size=-3 games.0 # as if the power had failed; the lock waits for the orphan
"${play[@]}" --positions 12000 >log 2>&1 || fail "self-play does not go on"

# A resumed file gets new games: with an equal seed the second part would begin like the first.
fresh=(selfplay --quick --hand-set --processes 1 --seed 5 --out fresh)
"${fresh[@]}" --positions 100 >log 2>&1 || fail "self-play"
size=$(stat -c %s fresh.0)
"${fresh[@]}" --positions 1000 >log 2>&1 || fail "self-play does not resume"
tail -c +$((size + 1)) fresh.0 | cmp -s -n 200 - fresh.0 && fail "a resumed file repeats its games"

learn=(train --threads 2 --levels base --batch 256 --out mine.nnue --checkpoint checkpoint games.0 games.1)
"${learn[@]}" --epochs 1000 >log 2>&1 &
await "after epoch 1" log
kill -INT $!
wait $! || fail "train fails on an interrupt"
grep -q "^skipped" log && fail "games were damaged"
finished=$(grep -c "^after epoch" log)
last=$(sed -n 's/.* epoch \([0-9]*\): .*/\1/p' log | tail -1)
"${learn[@]}" --epochs $((last + 1)) --resume >log 2>&1 || fail "train does not resume"
expect "^resuming after"
expect "^after epoch $((last + 1)):"
grep -q "^after epoch $finished:" log && fail "the finished epochs are trained again"

train --levels base --from checkpoint --positions 1000 --epochs 1 --out other.nnue games.0 >log 2>&1 ||
    fail "train does not start from a checkpoint"

# An interrupted run goes on where it was.
for variation in 0 50; do
    again=(rescore --net mine.nnue --share 0.1 --nodes 100 --variation-nodes $variation --processes 2 fresh.0 games.0)
    "${again[@]}" --out whole$variation >log 2>&1 || fail "rescore"
    for part in 0 1; do head -c $(($(stat -c %s whole$variation.$part) / 2)) whole$variation.$part >part.$part; done
    "${again[@]}" --out part >log 2>&1 || fail "rescore does not go on"
    for part in 0 1; do cmp whole$variation.$part part.$part || fail "a resumed run scores otherwise"; done
done

train --levels base --epochs 0 --from mine.nnue --out none.nnue --test whole0.0 --test whole0.1 >log 2>&1 ||
    fail "train does not test"
expect "^before: test error 0\.[0-9]*[1-9]"
[[ -e none.nnue ]] && fail "a test writes a network"

averageNetworks --out mean.nnue mine.nnue mine.nnue >log 2>&1 || fail "averageNetworks"

match --engine1 nodeEngine --option1 NetFile=mean.nnue --engine2 'nodeEngine --hand-set' --nodes 200 --games 4 \
      --concurrency 2 --maxplies 60 --pgn match.pgn >log 2>&1 || fail "match"
expect "game 4: "

# What match sends to its engines.
mkdir engines
cat >engines/player <<'END'
moves=(e1d1 e8d8 d1e1 d8e8)
while read -r line; do
    echo "$line" >>"$1"
    case $line in
        uci) echo uciok ;;
        isready) echo readyok ;;
        genfens*) for i in 1 2; do echo "info string genfens r3k3/8/8/8/8/8/8/R3K3 w - - 0 $i"; done ;;
        position*) [[ $line == *moves* ]] && played=$(wc -w <<<"${line#*moves}") || played=0 ;;
        go*) printf 'info depth 1 score cp %d\nbestmove %s\n' "$2" ${moves[played % 4]} ;;
        quit) exit ;;
    esac
done
END
match mine.nnue mean.nnue --engine1 "bash player one 700" --engine2 "bash player two -700" --dir1 engines --chess960 \
      --option Hash=7 --option2 Threads=2 --tc 9+0.5 --resign 701,1 --draw 1,699,1 --maxplies 4 --games 3 \
      --concurrency 1 --pgn long.pgn >log 2>&1 || fail "match of two players"
for line in "one setoption name NetFile value $folder/mine.nnue" "two setoption name NetFile value $folder/mean.nnue" \
            "one setoption name Hash value 7" "two setoption name Hash value 7" "two setoption name Threads value 2" \
            "one setoption name UCI_Chess960 value true" "two setoption name UCI_Chess960 value true" \
            "two genfens 2 seed 1 book NONE" "one go wtime 9000 btime 9000 winc 500 binc 500"; do
    grep -qx "${line#* }" "engines/${line%% *}" || fail "no '$line'"
done
grep -q "Threads" engines/one && fail "an option of the other engine"
[[ $(grep -c 'Termination "adjudication: the game is too long"' long.pgn) == 3 ]] || fail "other rules"

fromPgn --out games.2 match.pgn >log 2>&1 || fail "fromPgn"
expect "^4 games, .* left out: 0"
