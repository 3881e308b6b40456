#!/usr/bin/env bash
# A short night of `learn`: killed before, during and after each program that it runs, and gone on
# with; the promotion of a network, twice; a second `learn` on one folder; a full disk.
#
#   learn.sh FOLDER_OF_THE_PROGRAMS NETWORK
set -euo pipefail
programs=$1 network=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
mkdir bin kills

fail() { echo "learn.sh: $1" >&2; cat log >&2; tail -n 5 night/loops/*/*.log >&2 || true; exit 1; }
await() { for ((i = 0; i < 600; ++i)); do grep -qs "$1" "$2" && return; sleep 0.05; done; fail "no '$1' in $2"; }
expect() { grep -q "$1" log || fail "no '$1'"; }

ln -s "$programs/learn" bin
for program in selfplay train averageNetworks match; do
    cat >bin/$program <<END
#!/usr/bin/env bash
[[ -d "$folder/kills/$program.after" ]] && exec "$programs/$program" "\$@"
mkdir "$folder/kills/$program.before" 2>/dev/null && { kill -KILL \$PPID; exec sleep 60; }
if mkdir "$folder/kills/$program.during" 2>/dev/null; then
    "$programs/$program" "\$@" &
    sleep 0.1
    kill -KILL \$PPID
    exec sleep 60
fi
"$programs/$program" "\$@" || exit
mkdir "$folder/kills/$program.after" 2>/dev/null && { kill -KILL \$PPID; exec sleep 60; }
exit 0
END
    chmod +x bin/$program
done

learn=(bin/learn --folder night --net "$network" --games 6 --cores 2 --play "--quick --longest 100"
       --train "--levels base --epochs 1 --batch 64" --match "--nodes 50 --maxplies 40" --positions)

(trap '' XFSZ; ulimit -f 1000; exec "${learn[@]}" 3000) >log 2>&1 && fail "begins on a full disk"
expect "cannot write .*best.nnue"
[[ ! -e night/best.nnue ]] || fail "half a network"

for ((starts = 0; starts < 20; ++starts)); do
    "${learn[@]}" 3000 --loops 1 >log 2>&1 && break
done 2>/dev/null
expect "end: all loops are done"
(($(ls kills | wc -l) >= 11)) || fail "not killed in every stage"
[[ $(cut -d' ' -f1 night/loops/1/tally | tail -n +2 | sort -n | tr '\n' ' ') == "0 1 2 3 4 5 " ]] || fail "tally"
[[ $(cut -f1 night/loops.tsv | tr '\n' ' ') == "loop 1 " ]] || fail "table"
grep -q "^skipped" night/loops/1/*.log && fail "games were damaged"
[[ $(find night -name '*.part' -o -name '*.checkpoint') == "" ]] || fail "drafts remain"

# The first loop's promotion again, with other results and rows in the table.
promote() # ROWS RESULTS: keeps that many rows
{
    sed -i "1!s/[012]$/1/; $2" night/loops/1/tally
    sed -i "s/^loop .*/loop 1/; s/^stage .*/stage promote/; s/^nightOver .*/nightOver 0/; /^gain/d" night/state
    head -n "$1" table >night/loops.tsv
    cp "$network" night/best.nnue
    "${learn[@]}" 3000 --loops 1 >log 2>&1 || fail "promotion"
    cp night/loops.tsv table
    grep -q '<circle' night/progress.svg || fail "chart"
}
cp night/loops.tsv table
promote 0 '2s/1$/2/'
cmp -s night/best.nnue "$network" || fail "promoted by a gain within the error bar"
[[ $(cut -f11,12 table | tail -n +2) == $'0\t0' ]] || fail "table of the rest"
for rows in 1 2; do # before and after the row of a network that won all games is written
    promote $rows '1!s/1$/2/'
    cmp -s night/best.nnue night/loops/1/candidate.nnue || fail "not promoted"
    [[ $(cut -f9,11,12 table | tail -n +2) == $'800\t1\t800' ]] || fail "table of the promoted"
done

# The disk is full in the second loop.
mkdir -p kills/selfplay.after
(trap '' XFSZ; ulimit -f 1000; exec "${learn[@]}" 3000 --loops 1) >log 2>&1 && fail "trains on a full disk"
expect "train failed (exit code 1): .*; all it said is in .*Nothing is lost"
"${learn[@]}" 3000 --loops 1 --hours 0.1 >log 2>&1 || fail "does not go on after a full disk"
[[ $(cut -f1 night/loops.tsv | tr '\n' ' ') == "loop 1 2 " ]] || fail "table after a full disk"
cmp -s -i 8 -n 32 night/games/loop1.0 night/games/loop2.0 && fail "the same openings in two loops"

# When a night ends.
awk '/^nightSeconds/ { exit !($2 > 0) }' night/state || fail "the time is not counted"
night() # SECONDS GAIN GAIN: as if it were that old, after these loops
{
    sed -i "s/^nightOver .*/nightOver 0/; s/^nightSeconds .*/nightSeconds $1/; /^gain/d
            s/^lastLoopSeconds .*/lastLoopSeconds 60/; \$a gain $2\ngain $3" night/state
}
night 0 6 3
"${learn[@]}" 3000 >log 2>&1
expect "end: two loops together gained less than 10 Elo"
night 3500 20 20
"${learn[@]}" 3000 --hours 1 >log 2>&1
expect "end: the time is over"
night 3400 6 6

# A second learn, and an interrupt.
interrupt()
{
    kill -TERM $!
    wait $! || fail "an interrupt is no failure"
    expect "interrupted; the same command goes on"
}
"${learn[@]}" 1000000000 --hours 1 >log 2>&1 &
await . night/games/loop3.0
"${learn[@]}" 3000 >log2 2>&1 && fail "two at a time"
grep -q "another learn works in" log2 || fail "no word of the other"
interrupt

# Training goes on from its checkpoint.
for pattern in "^epoch 2" "^resuming after [1-9]"; do
    "${learn[@]/epochs 1/epochs 100000}" 3000 >log 2>&1 &
    await "$pattern" night/loops/3/run1.log
    interrupt
done
