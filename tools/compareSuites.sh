#!/usr/bin/env bash
# Searches known mates and test suites with a fixed number of nodes for each position, and tells what is solved now
# and was not when bench/suites.txt was written, and the other way round. A measure of how a
# change plays, neither proof nor part of the tests; games decide.
#
#   tools/compareSuites.sh            compares
#   tools/compareSuites.sh --accept   compares and writes bench/suites.txt
#
# The suites lie in ../shared/suites, or below the folder that TARVONEL_TEST_DATA names; those that are
# missing are left out. Exit code 1 tells of a difference.
set -euo pipefail
cd "$(dirname "$0")/.."
written=$PWD/bench/suites.txt
nodes=$(sed -n 's/^nodes //p' "$written")
suites=("$PWD/bench/mates.epd" "${TARVONEL_TEST_DATA:-$PWD/../shared}"/suites/*.epd)
[[ -e ${suites[-1]} ]] || unset 'suites[-1]'

cmake --preset release >/dev/null
log=$(cmake --build --preset release --target tarvonelSuites tarvonel 2>&1) || { echo "$log" >&2; exit 1; }
now=$(mktemp)
trap 'rm -f "$now"' EXIT
(cd build/release && bench/tarvonelSuites "$nodes" "${suites[@]}") | grep -P '\t' >"$now"

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
    $1 != suite { tell(); suite = $1; at = was = is = 0; gained = lost = "" }
    { old = substr(before[suite], ++at, 1); was += old == "+"; is += $3 == "+"
      if ($3 != old) { if ($3 == "+") gained = gained "  " $2 " " $4; else lost = lost "  " $2 " " $4 } }
    function tell() {
        if (suite == "") return
        print suite ": " was " solved before, " is " now, of " at
        if (gained != "") print "  gained:" gained
        if (lost != "") print "  lost:" lost
        differs += gained lost != "" }
    END { tell(); exit differs > 0 }' "$written" "$now" || status=$?
[[ ${1-} == --accept ]] && cp "$now.marks" "$written"
rm -f "$now.marks"
exit $status
