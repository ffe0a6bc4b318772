"""Prints how long the tool takes from start to exit where it has nothing to do, beside a program that does nothing."""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(sys.argv[1]).resolve()
PAIRS = 25


def milliseconds(program, output):
    """Waits for the process itself: what Wine starts beside it keeps a pipe open longer."""
    start = time.perf_counter()
    process = subprocess.Popen(["/usr/lib/wine/wine64", program], stdin=subprocess.DEVNULL, stdout=output,
                               stderr=output, env={**os.environ, "WINEPREFIX": str(BUILD / "wine"), "WINEDEBUG": "-all"})
    os.waitpid(process.pid, 0)
    return (time.perf_counter() - start) * 1000


def main():
    subprocess.run([ROOT / "scripts" / "in_wine", BUILD / "wine", "cmd", "/c", "exit"], check=True)
    with tempfile.TemporaryFile() as output:
        pairs = [(milliseconds(BUILD / "corvelctl.exe", output), milliseconds(BUILD / "bench" / "empty.exe", output))
                 for _ in range(PAIRS)]
    tool, empty = (statistics.median(times) for times in zip(*pairs))
    ratio = statistics.median(tool / empty for tool, empty in pairs)
    print(f"{'usage, start to exit':38}{tool:9.0f} ms\n{'  a program that does nothing':38}{empty:9.0f} ms   "
          f"ratio {ratio:.2f}")


main()
