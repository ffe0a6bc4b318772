"""Prints how fast the parts of the support bundle are and how much memory they take."""

import pathlib
import random
import tempfile

from timing import BUILD, HOST, seconds

BENCH = BUILD / "bench" / "bundle_bench.exe"
LOG_SIZE = 200_000_000


def write_log(path, size):
    """Writes a log as the agent does: few kinds of lines, changing numbers."""
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
    for line in HOST.output(BENCH, "render", "2").splitlines():
        kind, records, megabytes = line.split()
        print(f"event log, {kind + ' records':24}{int(records):12,} records/s{megabytes:>8} MB/s")
    for records in "10000", "1000000":
        print(f"event log of {int(records):9,} records{'':8}"
              f"{HOST.peak_megabytes(BENCH, 'stream', records, folder / 'log.zip'):9.1f} MB at most")


def archive(folder):
    log = folder / "agent.log"
    write_log(log, LOG_SIZE)
    tool = float(HOST.output(BENCH, "zip", log, folder / "tool.zip").split()[1]) / 1000
    others = {"zip -9": seconds("zip", "-9", "-q", folder / "zip.zip", log),
              "7z -mx=9": seconds("7z", "a", "-tzip", "-mx=9", "-bd", "-mmt=1", folder / "7z.zip", log)}
    minideflate = BUILD / "bench" / "minideflate.exe"
    if minideflate.exists():  # raw deflate, as in an archive
        others["minideflate -9"] = HOST.seconds(minideflate, "-k", "-9", "-w", "-15", log)
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
              f"{HOST.peak_megabytes(BENCH, 'zip', file, folder / 'tool.zip'):9.1f} MB at most")


def command(folder):
    for options in [], ["--exclude", "wu"]:
        words = ["create_support_bundle", *options]
        taken = min(HOST.seconds(BUILD / "corvelctl.exe", *words, cwd=folder) for _ in range(3))
        print(f"{' '.join(words):38}{taken * 1000:9.0f} ms")
    for line in HOST.output(BENCH, "parts").splitlines():
        name, taken = line.split()
        print(f"  {name:36}{float(taken):9.0f} ms")


def main():
    HOST.start_up()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        events(folder)
        archive(folder)
        command(folder)


main()
