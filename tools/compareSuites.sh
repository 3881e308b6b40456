#!/usr/bin/env bash
# Searches known mates and test suites with a fixed number of nodes for each position, and prints which
# solutions are gained and lost since bench/suites.txt was written. This is a hint of how a change plays, not
# a test: games decide.
#
#   tools/compareSuites.sh            compares
#   tools/compareSuites.sh --accept   compares and writes bench/suites.txt
#
# The suites are in ../shared/suites, or in suites/ in the folder that TARVONEL_TEST_DATA names. Missing ones
# are left out. Exit code 1 means a difference.
set -euo pipefail
cd "$(dirname "$0")/.."
recorded=$PWD/bench/suites.txt
nodes=$(sed -n 's/^nodes //p' "$recorded")
suites=("$PWD/bench/mates.epd" "${TARVONEL_TEST_DATA:-$PWD/../shared}"/suites/*.epd)
[[ -e ${suites[-1]} ]] || unset 'suites[-1]'

bash tools/configure.sh bench build/bench
log=$(cmake --build build/bench --target tarvonelSuites tarvonel 2>&1) || { echo "$log" >&2; exit 1; }
now=$(mktemp)
trap 'rm -f "$now"' EXIT
(cd build/bench && bench/tarvonelSuites "$nodes" "${suites[@]}") | grep -P '\t' >"$now"

# suites.txt: for each suite a line "NAME SOLVED of ALL" and then a mark for each of its positions.
awk -F '\t' -v nodes="$nodes" '
    { solved[$1] += $3 == "+"; marks[$1] = marks[$1] $3; if ($1 != order[count]) order[++count] = $1 }
    END { print "nodes " nodes
          for (i = 1; i <= count; ++i) {
              name = order[i]
              print name " " solved[name] + 0 " of " length(marks[name])
              for (at = 1; at <= length(marks[name]); at += 100) print substr(marks[name], at, 100) } }' "$now" >"$now.marks"

status=0
awk -F '\t' '
    FNR == NR { if (split($0, word, " ") == 4) name = word[1]; else if (word[1] != "nodes") before[name] = before[name] $0; next }
    $1 != suite { report(); suite = $1; at = was = is = 0; gained = lost = "" }
    { old = substr(before[suite], ++at, 1); was += old == "+"; is += $3 == "+"
      if ($3 != old) { if ($3 == "+") gained = gained "  " $2 " " $4; else lost = lost "  " $2 " " $4 } }
    function report() {
        if (suite == "") return
        print suite ": " was " solved before, " is " now, of " at
        if (gained != "") print "  gained:" gained
        if (lost != "") print "  lost:" lost
        differs += gained lost != "" }
    END { report(); exit differs > 0 }' "$recorded" "$now" || status=$?
[[ ${1-} == --accept ]] && cp "$now.marks" "$recorded"
rm -f "$now.marks"
exit $status
