#!/usr/bin/env bash
# What `make packages` has written: the Debian package is installed, run and removed (as root), the
# archives are unpacked, and each of their builds that this processor can run counts the nodes of `bench`
# that README.md tells. Not in .ci/run, as the packages take eight builds.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
trap 'echo "testPackages: failed in line $LINENO" >&2' ERR

# The words that start an engine.
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
for build in $("$root/tools/runnableBuilds.sh"); do
    for program in tarvonel-*-linux-*/lib/tarvonel/tarvonel-"$build" tarvonel-*-windows-*/tarvonel-"$build".exe; do
        [[ -e $program ]] || continue
        emulator=()
        [[ $program != *.exe ]] || emulator=("$root/tools/underWine.sh")
        (cd "${program%/*}" && expectNodes "${emulator[@]}" "./${program##*/}")
    done
done
