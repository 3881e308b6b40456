#!/usr/bin/env bash
# What `make packages` has written: the Debian package is installed, run and removed (as root), the
# archives are unpacked and each of their builds that this processor can run counts the nodes of `bench`
# that README.md tells. Too long for .ci/run, as the packages hold eight builds.
#
#   tests/packages.sh FOLDER
set -euo pipefail
root=$(readlink -f "$(dirname "$0")/..")
packages=$(readlink -f "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
trap 'echo "packages.sh: failed in line $LINENO" >&2' ERR

# COMMAND of an engine: in whatever folder it is started
expectNodes()
{
    local nodes
    nodes=$("$@" bench | grep -o '^[0-9]* nodes')
    echo "packages.sh: $nodes by $*"
    grep -qF "\`$nodes\`" "$root/README.md"
}

cd "$packages"
sha256sum --check SHA256SUMS
lintian --allow-root --fail-on error ./*.deb
dpkg --install ./*.deb
[[ $(/usr/games/tarvonel --which) == /usr/lib/tarvonel/tarvonel-* ]]
expectNodes /usr/games/tarvonel
dpkg --remove tarvonel
[[ -z $(find /usr -name '*tarvonel*') ]]

cd "$folder"
cmake -E tar xf "$packages"/*.tar.gz
cmake -E tar xf "$packages"/*.zip
ln -s tarvonel-*-linux-*/bin/tarvonel tarvonel
expectNodes ./tarvonel
for build in $("$root/tools/runnableBuilds.sh"); do
    for program in tarvonel-*-linux-*/lib/tarvonel/tarvonel-$build tarvonel-*-windows-*/tarvonel-$build.exe; do
        [[ -e $program ]] || continue
        emulator=()
        [[ $program != *.exe ]] || emulator=("$root/tools/underWine.sh")
        (cd "${program%/*}" && expectNodes "${emulator[@]}" "./${program##*/}")
    done
done
