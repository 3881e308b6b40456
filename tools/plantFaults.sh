#!/usr/bin/env bash
# Plants each fault of tools/plantedFaults.txt in the last commit, one at a time, and runs the tests that should
# catch it. Prints the faults that survive; fails if there are any.
#
#   tools/plantFaults.sh [PATTERN]     all faults, or those whose line matches the extended regular expression
#
# A line of the list: source file, below src/ unless it begins with training/ @ sed script, extended expressions @
# test files, or "signature".
set -euo pipefail
cd "$(dirname "$0")/.."
faults=$(grep -vE '^#|^$' tools/plantedFaults.txt | grep -E -- "${1:-.}")
tree=$(mktemp -d)
trap 'cd /; git -C "$OLDPWD" worktree remove --force "$tree"' EXIT
git worktree add --quiet --detach "$tree"
cd "$tree"
command -v ccache >/dev/null && export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$tree
cmake --preset release -B build -DTARVONEL_LTO=OFF >build.log
build() { cmake --build build --target tarvonelTests tarvonelSignature >build.log 2>&1; }

passes() # WORD...: whether the tests of these files, or the search signature, are as they should be
{
    local files=("$@")
    if [[ $* == signature ]]; then
        [[ $(build/bench/tarvonelSignature | sed -n 's/^bench: //p') == "$(<bench/signature.txt)" ]]
    else
        timeout 300 build/tests/tarvonelTests --gtest_brief=1 "${files[@]}" </dev/null
    fi >test.log 2>&1
}

build || { tail -20 build.log; exit 1; }
survivors=0
while IFS='@' read -r source script tests; do
    read -ra words <<<"$tests"
    file=${source// /}
    [[ $file == training/* ]] || file=src/$file
    sed -E -i "$script" "$file"
    if git diff --quiet; then
        verdict='not planted: nothing matches'
    elif ! build; then
        verdict='does not compile'
    elif passes "${words[@]}"; then
        verdict=SURVIVES
    else
        verdict=caught
    fi
    git checkout --quiet -- "$file"
    printf '%-10s %s@%s\n' "$verdict" "$source" "$script"
    [[ $verdict == caught ]] || survivors=$((survivors + 1))
done <<<"$faults"
echo "$survivors of $(wc -l <<<"$faults") faults not caught"
exit $((survivors > 0))
