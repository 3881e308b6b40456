#!/bin/sh
# Starts the best installed build that this processor can run, in the folder of the network file.
#
#   tarvonel [COMMAND [WORD ...]]   the engine; without a command it reads UCI commands from standard input
#   tarvonel --which                prints the path of the build that would be started
#   tarvonel --version | --help

script=$0
while [ -L "$script" ]; do
    target=$(readlink "$script")
    case $target in
    /*) script=$target ;;
    *) script=$(dirname "$script")/$target ;;
    esac
done

usage()
{
    cat <<'END'
Usage: tarvonel [COMMAND [WORD ...]]
       tarvonel --which | --version | --help

A UCI chess engine. Without a command it reads UCI commands from standard input.
Some commands: bench, perft DEPTH, go movetime MILLISECONDS, help.

  --which     print the path of the build for this processor
  --version   print the name and version
  --help      print this text
END
}

if [ $# -eq 1 ] && [ "$1" = --help ]; then
    usage
    exit
fi
cd "$(dirname "$script")/../lib/tarvonel" || exit
for build in $(sh ./runnableBuilds); do
    program=$(pwd -P)/tarvonel-$build
    [ -x "$program" ] || continue
    case "$#$1" in
    1--which) exec echo "$program" ;;
    1--version) "$program" uci | sed -n 's/^id name //p'; exit ;;
    esac
    exec "$program" "$@"
done
echo "tarvonel: no build in $(pwd -P) is for this processor" >&2
exit 1
