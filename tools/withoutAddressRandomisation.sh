#!/usr/bin/env bash
# Runs a command without address space randomisation where the system allows it: the thread sanitizer
# does not start under kernels that randomise addresses widely.
set -euo pipefail

if setarch -R true 2>/dev/null; then
    exec setarch -R "$@"
fi
exec "$@"
