#!/usr/bin/env bash
# Configures with every combination of GoogleTest, Google Benchmark and CLI11 found and not found, and checks
# which programs each would build: the engine always, tests without the training programs too. Then
# checks that a test file without a CTest entry is refused. Compiles nothing.
#
#   tools/testConfigurations.sh      needs all three libraries
set -euo pipefail
cd "$(dirname "$0")/.."
folder=build/configurations
fail() { echo "testConfigurations: $*" >&2; exit 1; }

expectTarget() # YES_OR_NO TARGET
{
    local found=no
    ! grep -qE "^$2: " "$folder/targets" || found=yes
    [[ $found == "$1" ]] || fail "target $2 $found instead of $1 with $combination"
}

for tests in yes no; do
    for bench in yes no; do
        for training in yes no; do
            combination="GoogleTest $tests, Google Benchmark $bench, CLI11 $training"
            rm -rf "$folder"
            options=()
            [[ $tests == yes ]] || options+=(-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON)
            [[ $bench == yes ]] || options+=(-DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON)
            [[ $training == yes ]] || options+=(-DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON)
            bash tools/configure.sh release "$folder" -DTARVONEL_LTO=OFF "${options[@]-}" || fail "no configuration with $combination"
            ninja -C "$folder" -t targets all >"$folder/targets"
            expectTarget yes tarvonel
            expectTarget yes tarvonelSignature
            expectTarget "$tests" tarvonelTests
            expectTarget "$bench" tarvonelBench
            expectTarget "$training" selfplay
        done
    done
done

rm -rf "$folder"
mkdir -p "$folder"
misnamed=tests/board/noTestsByName.cpp
trap 'rm -f "$misnamed"' EXIT
echo >"$misnamed"
if cmake --preset release -B "$folder" >"$folder/log" 2>&1; then
    fail "$misnamed got no CTest entry and no error"
fi
grep -qF "$misnamed" "$folder/log" || fail "the error does not name $misnamed"
echo "testConfigurations: all eight combinations configure"
