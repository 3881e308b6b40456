#!/bin/sh
# Runs a command. Where root works in another user's checkout (sudo make install), runs it as that user,
# who can then go on building there.
#
#   tools/asOwner.sh COMMAND [WORD ...]
owner=$(ls -dn . | awk '{ print $3 }')
if [ "$(id -u)" -eq 0 ] && [ "$owner" -ne 0 ] && command -v sudo >/dev/null 2>&1; then
    exec sudo -H -u "#$owner" "$@"
fi
exec "$@"
