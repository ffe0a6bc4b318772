"""Code that the benchmarks share."""

import pathlib
import subprocess
import sys
import time

from windows_host import WineHost

BUILD = pathlib.Path(sys.argv[1]).resolve()
HOST = WineHost(BUILD / "bench-host")


def seconds(*command):
    """Runs a program of the build machine, which has to succeed, and returns how many seconds it takes."""
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start


def in_turns(rounds, *measurements):
    """Returns the results of each measurement. They alternate, so that a busy moment affects all of them."""
    results = [[] for _ in measurements]
    for _ in range(rounds):
        for measure, taken in zip(measurements, results):
            taken.append(measure())
    return results
