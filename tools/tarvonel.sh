#!/bin/sh
# Starts the installed engine where its network file lies.
here=$(dirname "$(readlink -f "$0")")
cd "$here/../lib/tarvonel" && exec ./tarvonel "$@"
