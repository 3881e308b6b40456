#!/usr/bin/env python3
"""Runs the engine for PyChess and hides the "readyok" with which it answers "ucinewgame".

    pychessFilter.py [ENGINE [WORD ...]]

PyChess 1.0 answers each "readyok" with a new "ucinewgame", so with this engine it loops. The filter passes
everything through but a "readyok" that no "isready" has asked for. Without an argument it starts the
program "tarvonel" from its own folder, or else the installed one.
"""

import os
import subprocess
import sys
import threading

own = os.path.dirname(os.path.realpath(__file__))
command = sys.argv[1:] or [os.path.join(own, "tarvonel") if os.path.exists(os.path.join(own, "tarvonel")) else "tarvonel"]
folder = own if command[0].startswith(own + os.sep) else None
engine = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, cwd=folder)
asked = threading.Semaphore(0)  # one permit for each "isready" that is not answered yet


def passCommands():
    for line in sys.stdin.buffer:
        if line.split() == [b"isready"]:
            asked.release()
        try:
            engine.stdin.write(line)
            engine.stdin.flush()
        except BrokenPipeError:
            return
    engine.stdin.close()


threading.Thread(target=passCommands, daemon=True).start()
for line in engine.stdout:
    if line.split() != [b"readyok"] or asked.acquire(blocking=False):
        sys.stdout.buffer.write(line)
        sys.stdout.buffer.flush()
os._exit(engine.wait())
