#!/bin/sh
# Runs a Windows program under wine, whose files are kept in build/ instead of the home directory.
#
#   tools/underWine.sh PROGRAM [ARGUMENT ...]
root=$(cd "$(dirname "$0")/.." && pwd -P)
export WINEPREFIX="${WINEPREFIX:-$root/build/wine}" WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree=;mshtml=" # no .NET and no browser: the first start would set them up
export LC_ALL=C.UTF-8                      # wine opens files with non-ASCII names in UTF-8 locales only
PATH=$PATH:/usr/lib/wine                   # where Debian keeps the program
exec wine64 "$@"
