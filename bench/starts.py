# SPDX-License-Identifier: MIT
"""What the counts of instructions share: when a program has nothing more to do, the limits, rows of a table."""
import pathlib
import subprocess
import sys
import time

STILL = 4  # seconds without processor time, while no thread wants any
PATIENCE = 1200
LIMIT_BESIDE_SAME_WINDOW, LIMIT_BESIDE_EMPTY_FRAME = 1.10, 1.8


def fields_of_threads(process):
    """Of each thread: is it running or ready, and the processor time that it has had."""
    fields = []
    for task in pathlib.Path(f"/proc/{process}/task").iterdir():
        after_name = (task / "stat").read_text().rsplit(")", 1)[1].split()
        fields.append((after_name[0], after_name[11], after_name[12]))
    return fields


def wait_until_still(process):
    began = since = time.monotonic()
    before = None
    while time.monotonic() - since < STILL:
        if process.poll() is not None:
            sys.exit(f"{process.args[-1]} ended by itself")
        if time.monotonic() - began > PATIENCE:
            sys.exit(f"{process.args[-1]} does not come to rest")
        now = fields_of_threads(process.pid)
        if now != before or any(state in "RD" for state, *_ in now):
            since, before = time.monotonic(), now
        time.sleep(0.1)


def start_once(command, environment):
    """The first program on a display asks it for what the next ones find there."""
    process = subprocess.Popen(command, env=environment, stderr=subprocess.DEVNULL)
    try:
        wait_until_still(process)
    finally:
        process.kill()
        process.wait()


def millions(count):
    return f"{count / 1e6:.1f}"


def row(*cells):
    print("| " + " | ".join(str(cell) for cell in cells) + " |")


def head(*cells):
    row(*cells)
    print("|" + "---|" * len(cells))
