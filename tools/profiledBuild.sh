#!/usr/bin/env bash
# Profile-guided build: builds the instrumented engine, runs it, and builds again with the profile. The
# run searches the positions of `bench`, which are openings, middle games and endings, and counts moves.
# It does not change what the engine plays. Compilers other than gcc build once, without a profile.
#
#   tools/profiledBuild.sh PRESET FOLDER TARGET JOBS WITHOUT_PROFILE [OPTION ...]
#
# WITHOUT_PROFILE builds once if it is not empty. A finished build is left alone until a source changes.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1 folder=$2 target=$3 jobs=$4 withoutProfile=$5
shift 5
finished=$folder/profile.finished

buildStage() # generate, use or nothing, and a target
{
    bash tools/configure.sh "$preset" "$folder" -DTARVONEL_PROFILE="$1" "${options[@]}"
    cmake --build "$folder" -j "$jobs" --target "$2"
}

options=("$@" ${WERROR:+-DTARVONEL_WERROR=$WERROR})
if [[ -z $withoutProfile && -f $finished && $(<"$finished") == "${CXX-} ${options[*]-}" ]] &&
    [[ -z $(find src training cmake tools/profiledBuild.sh CMakeLists.txt CMakePresets.json networks -newer "$finished" -print -quit) ]]; then
    exit 0
fi
rm -f "$finished"
mkdir -p "$folder"
find "$folder" -name '*.gcda' -exec rm {} +
if [[ -z $withoutProfile ]]; then
    buildStage generate tarvonel
    if grep -q 'CMAKE_CXX_COMPILER_ID "GNU"' "$folder"/CMakeFiles/*/CMakeCXXCompiler.cmake; then
        cmake --build "$folder" --target profileRun
        buildStage use "$target"
        echo "${CXX-} ${options[*]-}" >"$finished"
        exit 0
    fi
fi
buildStage "" "$target"
