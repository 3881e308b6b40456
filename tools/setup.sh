#!/usr/bin/env bash
# Installs Debian packages that the build needs and the machine lacks. Where nothing is missing it does
# nothing; what it installs it names.
#
#   tools/setup.sh [--check] [GROUP ...]     GROUPs: build test bench training clang tidy format windows
#                                            arm wine package; the first seven without a word
#
# --check installs nothing, but names what is missing and fails. On systems without apt, and for users who
# are not root and have no sudo, the same. Any compiler for C++20 will do; CXX chooses one.
set -euo pipefail

missing=()
isCheck=
if [[ ${1-} == --check ]]; then
    isCheck=yes
    shift
fi

needCommand() # COMMAND PACKAGE
{
    command -v "$1" >/dev/null 2>&1 || missing+=("$2")
}

needHeader() # HEADER PACKAGE
{
    local folder
    for folder in /usr/include /usr/local/include /opt/homebrew/include /opt/local/include; do
        [[ ! -e $folder/$1 ]] || return 0
    done
    missing+=("$2")
}

compilesCxx20() # COMPILER
{
    command -v "$1" >/dev/null 2>&1 &&
        printf '#include <ranges>\nint main() { return 0; }\n' | "$1" -std=c++20 -x c++ -fsyntax-only - 2>/dev/null
}

# CMake looks for the same names in the same order.
needCompiler()
{
    local compiler
    for compiler in ${CXX:-c++ g++ clang++}; do
        if compilesCxx20 "$compiler"; then return 0; fi
    done
    compiler=${CXX-}
    case ${compiler##*/} in
    '' | g++) missing+=(g++) ;;
    clang++) missing+=(clang) ;;
    g++-*) missing+=("${compiler##*/}") ;;
    clang++-*) missing+=("clang-${compiler##*clang++-}") ;;
    *)
        echo "setup: the compiler CXX=$CXX does not compile C++20, or is not there" >&2
        exit 1
        ;;
    esac
}

needBuildTools()
{
    needCommand cmake cmake
    needCommand ninja ninja-build
}

[[ $# -gt 0 ]] || set -- build test bench training clang tidy format
for group in "$@"; do
    case $group in
    build)
        needCompiler
        needBuildTools
        ;;
    test) needHeader gtest/gtest.h libgtest-dev ;;
    bench) needHeader benchmark/benchmark.h libbenchmark-dev ;;
    training) needHeader CLI/CLI.hpp libcli11-dev ;;
    clang)
        needCommand clang++ clang
        needBuildTools
        ;;
    tidy) needCommand run-clang-tidy clang-tidy ;;
    format) needCommand clang-format clang-format ;;
    windows)
        needCommand x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
        needBuildTools
        ;;
    arm)
        case $(uname -m) in
        aarch64 | arm64) needCompiler ;;
        *) needCommand aarch64-linux-gnu-g++ g++-aarch64-linux-gnu ;;
        esac
        needBuildTools
        ;;
    wine) PATH=$PATH:/usr/lib/wine needCommand wine64 wine64 ;;
    package)
        needCommand dpkg-shlibdeps dpkg-dev
        needCommand lintian lintian
        ;;
    *)
        echo "setup: there is no group '$group'" >&2
        exit 2
        ;;
    esac
done

((${#missing[@]} > 0)) || exit 0

if [[ -n $isCheck ]]; then
    echo "setup: missing, by the names of Debian's packages: ${missing[*]}" >&2
    exit 1
fi
if ! command -v apt-get >/dev/null 2>&1; then
    echo "setup: please install what these Debian packages contain: ${missing[*]}" >&2
    exit 1
fi

asRoot=(env)
if [[ $(id -u) -ne 0 ]]; then
    asRoot=(sudo)
    [[ -t 0 ]] || asRoot=(sudo -n) # no password prompt that nobody sees
    if ! command -v sudo >/dev/null 2>&1 || { [[ ! -t 0 ]] && ! sudo -n true 2>/dev/null; }; then
        echo "setup: please run as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
fi

echo "setup: installing ${missing[*]}"
# A list that cannot be fetched may be of a foreign archive that is not needed here.
"${asRoot[@]}" apt-get -o Acquire::Retries=3 update -qq || echo "setup: some package lists are not up to date" >&2
"${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -o Acquire::Retries=3 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
