#!/usr/bin/env bash
# Installs what the build needs and the machine lacks, from the distribution's own packages.
#
#   tools/setup.sh [build] [test] [bench] [training] [develop] [windows] [package]
#
# Without a word all groups but the last.
#
# Says what it installs and does nothing where all is there. For Debian and its relatives, as root
# or with sudo; elsewhere it names what is missing.
set -euo pipefail

missing=()

needCommand() # COMMAND PACKAGE
{
    command -v "$1" >/dev/null 2>&1 || missing+=("$2")
}

needHeader() # HEADER PACKAGE
{
    local folder
    for folder in /usr/include /usr/local/include; do
        [[ -e $folder/$1 ]] && return
    done
    missing+=("$2")
}

for group in "${@:-build test bench training develop windows}"; do
    for word in $group; do
        case $word in
        build)
            needCommand g++ g++
            needCommand make make
            needCommand cmake cmake
            needCommand ninja ninja-build
            ;;
        test) needHeader gtest/gtest.h libgtest-dev ;;
        bench) needHeader benchmark/benchmark.h libbenchmark-dev ;;
        training) needHeader CLI/CLI.hpp libcli11-dev ;;
        develop)
            needCommand clang++ clang
            needCommand clang-format clang-format
            needCommand run-clang-tidy clang-tidy
            ;;
        windows)
            needCommand x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
            PATH=$PATH:/usr/lib/wine needCommand wine64 wine64
            ;;
        package)
            needCommand dpkg-shlibdeps dpkg-dev
            needCommand lintian lintian
            ;;
        *)
            echo "setup: build, test, bench, training, develop, windows or package, not '$word'" >&2
            exit 2
            ;;
        esac
    done
done

[[ ${#missing[@]} -eq 0 ]] && exit 0

if ! command -v apt-get >/dev/null 2>&1; then
    echo "setup: please install what these Debian packages hold: ${missing[*]}" >&2
    exit 1
fi

asRoot=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "setup: please run as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    asRoot=(sudo)
fi

echo "setup: installing ${missing[*]}"
# A list that cannot be fetched, such as one of a foreign archive, need not be one of ours.
"${asRoot[@]}" apt-get -o Acquire::Retries=3 update -qq || echo "setup: some package lists are not up to date" >&2
"${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -o Acquire::Retries=3 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
