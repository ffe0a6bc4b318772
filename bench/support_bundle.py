"""Prints how fast the parts of the support bundle are and how much memory they take."""

import os
import pathlib
import random
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(sys.argv[1]).resolve()
IN_WINE = [ROOT / "scripts" / "in_wine", BUILD / "wine"]
BENCH = BUILD / "bench" / "bundle_bench.exe"
LOG_SIZE = 200_000_000


def bench(*arguments):
    return subprocess.run([*IN_WINE, BENCH, *arguments], check=True, capture_output=True, encoding="ascii").stdout


def peak_megabytes(*command):
    """The most memory that the command held."""
    process = subprocess.Popen([*IN_WINE, *command], stdout=subprocess.DEVNULL)
    return os.wait4(process.pid, 0)[2].ru_maxrss / 1024


def seconds(*command):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.perf_counter() - start


def write_log(path, size):
    """A log as the agent writes it: few kinds of lines, changing numbers."""
    source = random.Random(1)
    messages = ["update: release {} is current", "comm: sent {} bytes to https://app.corvel.example/api/v1/report",
                "pkg: scanned package {:x} in {} ms", "agent: heartbeat {}", "comm: error 0x{:08x}, next try in {} s"]
    with path.open("w", encoding="ascii") as log:
        while log.tell() < size:
            log.writelines("2025-01-31 {:02}:{:02}:{:02}.{:07} [{}] LOG_INFO main {}\n".format(
                source.randrange(24), source.randrange(60), source.randrange(60), source.randrange(10**7),
                source.randrange(9999), source.choice(messages).format(source.randrange(2**24), source.randrange(999)))
                for _ in range(20000))


def events(folder):
    for line in bench("render", "2").splitlines():
        kind, records, megabytes = line.split()
        print(f"event log, {kind + ' records':24}{int(records):12,} records/s{megabytes:>8} MB/s")
    for records in "10000", "1000000":
        print(f"event log of {int(records):9,} records{'':8}"
              f"{peak_megabytes(BENCH, 'stream', records, folder / 'log.zip'):9.1f} MB at most")


def archive(folder):
    log = folder / "agent.log"
    write_log(log, LOG_SIZE)
    tool = float(bench("zip", log, folder / "tool.zip").split()[1]) / 1000
    others = {"zip -9": seconds("zip", "-9", "-q", folder / "zip.zip", log),
              "7z -mx=9": seconds("7z", "a", "-tzip", "-mx=9", "-bd", "-mmt=1", folder / "7z.zip", log)}
    minideflate = BUILD / "bench" / "minideflate.exe"
    if minideflate.exists():  # raw deflate, as in an archive
        others["minideflate -9"] = seconds(*IN_WINE, minideflate, "-k", "-9", "-w", "-15", log)
        next(folder.glob(f"{log.name}.z*")).rename(folder / "minideflate.zip")
    size = (folder / "tool.zip").stat().st_size
    print(f"archive of {LOG_SIZE // 10**6} MB{'':20}{tool:9.1f} s   {size / 1e6:9.1f} MB")
    for name, taken in others.items():
        other = (folder / f"{name.split()[0]}.zip").stat().st_size
        print(f"  by {name:32}{taken:9.1f} s   {other / 1e6:9.1f} MB   tool's time {tool / taken:.2f} of it, "
              f"size {size / other:.3f}")
    small = folder / "small.log"
    write_log(small, LOG_SIZE // 20)
    for file in small, log:
        print(f"archive of {file.stat().st_size // 10**6:3} MB{'':20}"
              f"{peak_megabytes(BENCH, 'zip', file, folder / 'tool.zip'):9.1f} MB at most")


def command(folder):
    host = ROOT / "build" / "demo-host"
    run = [ROOT / "scripts" / "in_wine", host, BUILD / "corvelctl.exe", "create_support_bundle"]
    os.chdir(folder)
    print(f"{'create_support_bundle':38}{min(seconds(*run) for _ in range(3)) * 1000:9.0f} ms")
    without = min(seconds(*run, '--exclude', 'wu') for _ in range(3)) * 1000
    print(f"{'create_support_bundle --exclude wu':38}{without:9.0f} ms")
    for line in subprocess.run([ROOT / "scripts" / "in_wine", host, BENCH, "parts"], check=True, capture_output=True,
                               encoding="ascii").stdout.splitlines():
        name, taken = line.split()
        print(f"  {name:36}{float(taken):9.0f} ms")


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        events(folder)
        archive(folder)
        command(folder)


main()
