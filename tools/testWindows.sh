#!/usr/bin/env bash
# The best build that this processor can run, compiled for Windows and run under wine: it may need the
# system's own libraries alone, and has to have the same search signature and pass the tests that
# drive the engine by its console, those of build/release.
set -euo pipefail
cd "$(dirname "$0")/.."

read -r best < <(tools/runnableBuilds.sh)
preset=windows-$best
engine=$PWD/build/$preset/tarvonel.exe
tools/compareSignatures.sh "$preset"
cmake --build --preset "$preset" --target tarvonel >/dev/null

libraries=$(x86_64-w64-mingw32-objdump -p "$engine" | sed -n 's/.*DLL Name: //p' | grep -vixE '(kernel32|msvcrt)\.dll' || true)
[[ -z $libraries ]] || { echo "testWindows: the engine needs $libraries" >&2; exit 1; }

# Wine's services start with the first program and hold on to its output: not to the engine's.
coproc { tools/underWine.sh cmd >/dev/null; }
TARVONEL_ENGINE="$PWD/tools/underWine.sh $engine" \
    build/release/tests/tarvonelTests --gtest_brief=1 uci/dialogueTest.cpp
