#!/usr/bin/env bash
# Tries what `make packages` has written: installs, runs and removes the Debian package (as root), unpacks
# the archives, and compares what each of their builds counts in `bench` with README.md. Not in .ci/run,
# as the packages take eight builds.
#
#   tools/testPackages.sh
#   tools/testPackages.sh --modes FOLDER   packs the build in FOLDER under umask 077, and checks that
#                                          every user can read it
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
trap 'echo "testPackages: failed in line $LINENO" >&2' ERR

if [[ ${1-} == --modes ]]; then
    umask 077
    cpack -G "DEB;TGZ" --config "$2/CPackConfig.cmake" -B "$folder" >"$folder/log" 2>&1 || { cat "$folder/log" >&2; exit 1; }
    private=$({ dpkg-deb --contents "$folder"/*.deb; tar -tvzf "$folder"/*.tar.gz; } | grep -vE '^(-rw-r--r--|-rwxr-xr-x|drwxr-xr-x|lrwxrwxrwx) ' || true)
    [[ -z $private ]] || { echo "testPackages: not for everybody: $private" >&2; exit 1; }
    echo "testPackages: every user can read the packages"
    exit
fi

# The arguments start an engine.
expectNodes()
{
    local nodes
    nodes=$("$@" bench | grep -o '^[0-9]* nodes')
    echo "testPackages: $nodes by $*"
    grep -qF "\`$nodes\`" "$root/README.md"
}

(cd dist && sha256sum --check SHA256SUMS)
lintian --allow-root --fail-on error dist/*.deb
dpkg --install dist/*.deb
[[ $(/usr/games/tarvonel --which) == /usr/lib/tarvonel/tarvonel-* ]]
expectNodes /usr/games/tarvonel
files=$(dpkg --listfiles tarvonel | grep tarvonel)
dpkg --remove tarvonel
for file in $files; do
    [[ ! -e $file ]]
done

cd "$folder"
cmake -E tar xf "$root"/dist/*.tar.gz
cmake -E tar xf "$root"/dist/*.zip
ln -s tarvonel-*-linux-*/bin/tarvonel tarvonel
expectNodes ./tarvonel
for build in $(sh "$root/tools/runnableBuilds.sh"); do
    for program in tarvonel-*-linux-*/lib/tarvonel/tarvonel-"$build" tarvonel-*-windows-*/tarvonel-"$build".exe; do
        [[ -e $program ]] || continue
        emulator=()
        [[ $program != *.exe ]] || emulator=(sh "$root/tools/underWine.sh")
        (cd "${program%/*}" && expectNodes "${emulator[@]}" "./${program##*/}")
    done
done
