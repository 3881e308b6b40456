#!/usr/bin/env bash
# Runs a command with a fixed layout of its memory where the system allows it: the thread sanitizer
# cannot start under kernels that randomise addresses widely.
set -euo pipefail

if setarch -R true 2>/dev/null; then
    exec setarch -R "$@"
fi
exec "$@"
