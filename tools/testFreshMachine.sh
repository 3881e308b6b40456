#!/usr/bin/env bash
# Tries the README's commands on machines other than the developer's: bare Debian systems, made afresh by
# mmdebstrap with this machine's own apt set-up, in which the checkout lies as an archive without
# execute bits, unpacked under umask 077 into a folder with a blank in its name.
#
#   tools/testFreshMachine.sh [MACHINE ...]       all machines without a word
#
#   bookworm          Debian 12: a user without root and without compilers; then nothing installed; then
#                     GoogleTest, but no CLI11; then make -j2 run bench
#   bookworm-clang    Debian 12 with clang and without gcc: make sse2, EXE=, install, uninstall
#   trixie            Debian 13: nothing installed; then the quick tests
#   trixie-developer  Debian 13: debug and tidy, which take long
#
# Needs mmdebstrap and the network, and root or user namespaces. Logs are in build/freshMachine. At
# the end it prints the minutes that the builds took from nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
logs=$root/build/freshMachine
fail() { echo "testFreshMachine: $*" >&2; exit 1; }

# What a machine does once it is made: this script again, inside, with the name of the machine.

inside=/tmp/testFreshMachine
home=/home/player

expect() { grep -qE "$1" "$2" || { cat "$2"; fail "no '$1' in the output of the last command"; }; }
expectFailure() { if "$@" >/tmp/log 2>&1; then cat /tmp/log; fail "succeeds and should not: $*"; fi; }
asPlayer() { su player -c "umask 077; cd && $1"; }
install() { apt-get install -y -qq --no-install-recommends "$@" >/dev/null || fail "cannot install $*"; }
title() { echo "--- $*"; }

unpack() # FOLDER OWNER
{
    (
        umask 077
        mkdir -p "$1"
        tar -x -C "$1" --no-same-permissions -f $inside/checkout.tar
        find "$1" -type f -exec chmod a-x {} +
        chown -R "$2:" "$1"
    )
}

timed() # NAME COMMAND...
{
    local name=$1 start=$SECONDS
    shift
    "$@"
    echo "MINUTES $name: $(((SECONDS - start) / 60)) min $(((SECONDS - start) % 60)) s"
}

runsFromNothing()
{
    nodes=$(sed -n 's/.*`\([0-9]* nodes\)`.*/\1/p' README.md | head -1) # of bench
    title "nothing installed: make run"
    timed "make run" make run RUN_MILLISECONDS=500 >/tmp/log 2>&1 || { cat /tmp/log; fail "make run"; }
    expect '^bestmove [a-h][1-8][a-h][1-8]' /tmp/log
    grep MINUTES /tmp/log
    (cd build/release && ./tarvonel bench) >/tmp/log
    expect "^$nodes" /tmp/log
}

bookworm()
{
    title "a user without root and without compilers"
    unpack "$home/chess engine" player
    expectFailure asPlayer "cd 'chess engine' && timeout 20 make EXE=engine </dev/null"
    expect 'missing.* g\+\+ cmake ninja-build' /tmp/log
    expectFailure asPlayer "cd 'chess engine' && timeout 20 make EXE=missing/engine </dev/null"
    expect "'missing' does not exist" /tmp/log
    expectFailure asPlayer "cd 'chess engine' && timeout 20 make run </dev/null"
    expect 'as root: apt-get install g\+\+' /tmp/log
    expectFailure asPlayer "cd 'chess engine' && timeout 20 make install </dev/null"
    expect 'no permission to write in /usr/local' /tmp/log
    [[ ! -e "$home/chess engine/build" ]] || fail "something was built before the failure"

    cd "$home/chess engine"
    chown -R root: .
    runsFromNothing

    title "GoogleTest, but no CLI11"
    install libgtest-dev
    touch CMakeLists.txt
    make QUICK= >/tmp/log 2>&1 || { cat /tmp/log; fail "make"; }
    expect '^The engine: .*/build/release/tarvonel$' /tmp/log
    cmake --preset debug >/tmp/log 2>&1 || { cat /tmp/log; fail "cmake --preset debug"; }
    make run RUN_MILLISECONDS=100 >/tmp/log 2>&1 || { cat /tmp/log; fail "make run after make debug"; }
    expect '^bestmove ' /tmp/log

    title "make -j2 run bench"
    make -j2 run bench RUN_MILLISECONDS=100 >/tmp/log 2>&1 || { cat /tmp/log; fail "make -j2 run bench"; }
    expect '^bestmove ' /tmp/log
    expect "^$nodes" /tmp/log
    expect "^$(<bench/signature.txt) nodes" /tmp/log
    ! grep -i 'error' /tmp/log || fail "make bench prints errors"
}

bookworm-clang()
{
    install make clang cmake ninja-build
    ! command -v g++ || fail "clang brought g++"
    unpack "$home/chess engine" player
    cd "$home/chess engine"

    title "clang without gcc: make sse2"
    asPlayer "cd 'chess engine' && make sse2 QUICK=yes" >/tmp/log 2>&1 || { cat /tmp/log; fail "make sse2"; }
    expect '^The engine: ' /tmp/log

    title "clang without gcc: EXE= and install"
    asPlayer "cd 'chess engine' && make EXE=worker CXX=clang++ && ./worker bench 1" >/tmp/log 2>&1 || { cat /tmp/log; fail "EXE="; }
    expect ' nodes ' /tmp/log
    mkdir -p "/opt/my games/lib/tarvonel"
    chmod -R 755 "/opt/my games"
    touch "/opt/my games/lib/tarvonel/tarvonel-avx2"
    (umask 077 && make install BUILDS=sse2 QUICK=yes PREFIX="/opt/my games") >/tmp/log 2>&1 || { cat /tmp/log; fail "make install"; }
    ! grep 'Building CXX' /tmp/log || fail "make install builds again"
    [[ ! -e "/opt/my games/lib/tarvonel/tarvonel-avx2" ]] || fail "the build of an earlier installation is still there"
    asPlayer "'/opt/my games/bin/tarvonel' bench 1" >/tmp/log 2>&1 || { cat /tmp/log; fail "the installed engine"; }
    expect ' nodes ' /tmp/log
    asPlayer "'/opt/my games/bin/tarvonel' --version" >/tmp/log 2>&1
    expect '^Tarvonel [0-9]' /tmp/log
    [[ -z $(find "/opt/my games" ! -perm -444) ]] || fail "files that a user cannot read: $(find "/opt/my games" ! -perm -444)"
    make uninstall PREFIX="/opt/my games" >/tmp/log
    [[ -z $(find "/opt/my games" -type f) ]] || fail "left by make uninstall: $(find "/opt/my games" -type f)"
    ! command -v g++ || fail "something installed g++"
}

trixie()
{
    unpack "$home/chess engine" root
    cd "$home/chess engine"
    runsFromNothing
    title "Debian 13: the quick tests"
    timed "make quick" make quick >/tmp/log 2>&1 || { cat /tmp/log; fail "make quick"; }
    expect '100% tests passed' /tmp/log
    grep MINUTES /tmp/log
}

trixie-developer()
{
    unpack "$home/chess engine" root
    cd "$home/chess engine"
    make debug
    make tidy
}

if [[ $0 == $inside/run.sh ]]; then
    export HOME=/root
    command -v useradd >/dev/null || install passwd
    useradd -m player
    "$1"
    exit
fi

# Outside: makes the machines.

[[ $# -gt 0 ]] || set -- bookworm bookworm-clang trixie trixie-developer
command -v mmdebstrap >/dev/null || fail "mmdebstrap is missing: apt-get install mmdebstrap"
mkdir -p "$logs"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# An interrupt ends everything inside the machine and removes it.
set -m
making=
trap '[[ -z $making ]] || { kill -- "-$making"; wait "$making" || true; }; exit 130' INT TERM
chmod 755 "$work"

# The files of the checkout, committed or not.
if git rev-parse --git-dir >/dev/null 2>&1; then
    git ls-files -z --cached --others --exclude-standard | xargs -0 sh -c 'for file; do [ ! -e "$file" ] || printf "%s\0" "$file"; done' sh |
        tar -c --null -T - -f "$work/checkout.tar"
else
    tar -c --exclude=./build --exclude=./dist -f "$work/checkout.tar" .
fi
cp "$0" "$work/run.sh"

# This machine's proxies and the like, and its mirror of Debian.
apt-config dump | grep -E '^(Acquire::(http|https|ftp|Retries|Check|ForceIPv)|APT::(Sandbox))' >"$work/apt.conf" || true
mirror=$(apt-get indextargets --format '$(ORIGIN) $(CODENAME) $(SITE)' | sed -n 's/^Debian [a-z]* \(http.*debian\/*\)$/\1/p' | head -1)
mirror=${mirror:-http://deb.debian.org/debian}

for machine; do
    declare -F "$machine" >/dev/null || fail "there is no machine '$machine'"
    log=$logs/$machine.log
    echo "testFreshMachine: $machine"
    mmdebstrap --variant=apt --format=null --aptopt="$work/apt.conf" --include=make \
        --customize-hook="mkdir -p \"\$1\"$inside" \
        --customize-hook="copy-in $work/checkout.tar $work/run.sh $inside" \
        --customize-hook="chroot \"\$1\" env LC_ALL=C.UTF-8 bash $inside/run.sh $machine 2>&1" \
        "${machine%%-*}" /dev/null "$mirror" >"$log" 2>&1 &
    making=$!
    if ! wait "$making"; then
        making=
        tail -60 "$log" >&2
        fail "$machine failed: $log"
    fi
    grep -E '^(---|MINUTES)' "$log"
done
