#!/bin/sh
# Starts the best of the installed builds that this processor can run, where the network file lies.
# `tarvonel --which` prints its path instead.
cd "$(dirname "$(readlink -f "$0")")/../lib/tarvonel" || exit
for build in $(./runnableBuilds); do
    program=$(pwd -P)/tarvonel-$build
    [ -x "$program" ] || continue
    [ "$*" != --which ] || exec echo "$program"
    exec "$program" "$@"
done
echo "tarvonel: no build in $(pwd -P) is for this processor" >&2
exit 1
