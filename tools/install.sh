#!/usr/bin/env bash
# Installs builds side by side under PREFIX, removes builds of an earlier installation that are not
# among them, or removes everything.
#
#   tools/install.sh PREFIX FOLDER...     FOLDERs: build folders of the engine
#   tools/install.sh --check PREFIX       fails unless PREFIX can be written
#   tools/install.sh --remove PREFIX
set -euo pipefail
cd "$(dirname "$0")/.."
umask 022
fail() { echo "install: $*" >&2; exit 1; }

# The first existing folder on the way up from PREFIX, and the places below PREFIX that are written.
checkWritable() # PREFIX
{
    local place existing
    for place in "$1" "$1/bin" "$1/lib" "$1/share" "$1/lib/tarvonel"; do
        existing=$place
        while [[ ! -e $existing ]]; do existing=$(dirname "$existing"); done
        [[ -d $existing ]] || fail "$existing is not a folder"
        [[ -w $existing ]] || fail "no permission to write in $existing. Choose a folder of your own, such as
    make $action PREFIX=\"\$HOME/.local\"
or build first and become root for the rest:
    make builds && sudo make $action"
    done
}

removeAll() # PREFIX
{
    rm -f "$1/bin/tarvonel" "$1/share/man/man6/tarvonel.6"
    rm -f "$1"/lib/tarvonel/tarvonel-* "$1"/lib/tarvonel/runnableBuilds "$1/lib/tarvonel/220321-307.nnue"
    rm -rf "$1/share/doc/tarvonel"
    [[ ! -d $1/lib/tarvonel ]] || rmdir "$1/lib/tarvonel" 2>/dev/null || echo "install: kept your files in $1/lib/tarvonel"
}

action=install
case $1 in
--check)
    checkWritable "$2"
    ;;
--remove)
    action=uninstall
    [[ -e $2/bin/tarvonel || -d $2/lib/tarvonel ]] || fail "there is no installation in $2"
    checkWritable "$2"
    removeAll "$2"
    echo "Removed from $2"
    ;;
*)
    prefix=$1 # with DESTDIR
    [[ $prefix == /* ]] || prefix=$PWD/$prefix
    shift
    for folder in "$@"; do
        rm -f "$folder/install_manifest.txt" # root's, perhaps
        DESTDIR='' cmake --install "$folder" --prefix "$prefix" >build/install.log || { cat build/install.log >&2; exit 1; }
        rm -f "$folder/install_manifest.txt"
    done
    rm -f build/install.log
    [[ -d $prefix/lib/tarvonel ]] || exit 0 # for Windows: no script, no earlier installation
    for program in "$prefix"/lib/tarvonel/tarvonel-*; do
        build=${program##*/tarvonel-}
        [[ " $* " =~ " build/$build"(-pgo)?" " ]] || { rm "$program"; echo "Removed the older build $program"; }
    done
    echo "The engine: $prefix/bin/tarvonel"
    ;;
esac
