#!/usr/bin/env bash
# Compiles the best build that this processor can run for Windows and runs it under wine. It may use the
# system's own DLLs only, must have the same search signature, and must pass the tests that drive the
# engine over standard input and output, those of build/test.
set -euo pipefail
cd "$(dirname "$0")/.."

read -r best < <(sh tools/runnableBuilds.sh)
preset=windows-$best
folder=build/$preset
engine=$PWD/$folder/tarvonel.exe
bash tools/compareSignatures.sh "$preset"
cmake --build "$folder" --target tarvonel >/dev/null

libraries=$(x86_64-w64-mingw32-objdump -p "$engine" | sed -n 's/.*DLL Name: //p' | grep -vixE '(kernel32|msvcrt)\.dll' || true)
[[ -z $libraries ]] || { echo "testWindows: the engine needs $libraries" >&2; exit 1; }

# Wine's services start with the first program and keep its output open: not the engine's.
coproc { sh tools/underWine.sh cmd >/dev/null; }
TARVONEL_ENGINE="sh $PWD/tools/underWine.sh $engine" \
    build/test/tests/tarvonelTests --gtest_brief=1 uci/dialogueTest.cpp
