#!/usr/bin/env bash
# Configures a preset, quietly unless it fails. Where CXX names another compiler than the folder was
# configured with, it starts afresh.
#
#   tools/configure.sh PRESET FOLDER [OPTION ...]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
folder=$2
shift 2
log=$folder.configure.log
mkdir -p "$(dirname "$folder")"

cache=$folder/CMakeCache.txt
if [[ -n ${CXX-} && -f $cache ]] && ! grep -q '^CMAKE_TOOLCHAIN_FILE:.*=.' "$cache"; then
    configured=$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' "$cache")
    [[ $configured == "$(command -v "${CXX%% *}" || true)" ]] || rm -rf "$cache" "$folder/CMakeFiles"
fi
if ! cmake --preset "$preset" -B "$folder" "$@" >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
