#!/bin/sh
# Runs a Windows program. What wine keeps lies in build/, not in the home directory.
#
#   tools/underWine.sh PROGRAM [WORDS]
root=$(dirname "$(readlink -f "$0")")/..
export WINEPREFIX="${WINEPREFIX:-$(readlink -f "$root")/build/wine}" WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree=;mshtml=" # no browser and no other runtime is set up
export LC_ALL=C.UTF-8                      # without one, wine opens no file whose name is not ASCII
PATH=$PATH:/usr/lib/wine                   # where Debian keeps the program
exec wine64 "$@"
