"""Prints how long verify_release takes from start to verdict, beside `openssl cms -verify` on the same files."""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(sys.argv[1]).resolve()
AUTHORITIES = BUILD / "tests" / "authorities"
IN_WINE = [ROOT / "scripts" / "in_wine", BUILD / "wine"]
ROUNDS = 7


def milliseconds(*commands):
    """The median time of each command, run in turns so that a busy moment does not hit one of them alone."""
    times = [[] for _ in commands]
    for _ in range(ROUNDS):
        for command, taken in zip(commands, times):
            start = time.perf_counter()
            subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            taken.append((time.perf_counter() - start) * 1000)
    return [statistics.median(taken) for taken in times]


def main():
    os.environ["SELF_UPDATE_PROFILE"] = '"unsigned"'
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        subprocess.run([ROOT / "scripts" / "issue_signer", AUTHORITIES / "release", folder / "signer"], check=True)
        print(f"{'verify_release':24}{'corvelctl':>12}{'openssl':>12}{'ratio':>8}")
        for label, size in ("1 KB metadata", 1000), ("100 MB metadata", 100_000_000):
            metadata = folder / "metadata"
            metadata.write_bytes(os.urandom(1000) * (size // 1000))
            subprocess.run([ROOT / "scripts" / "sign_release", metadata, folder / "signature", folder / "signer"],
                           check=True)
            tool, openssl = milliseconds(
                [*IN_WINE, BUILD / "tests" / "corvelctl_test.exe", "verify_release", metadata, folder / "signature"],
                ["openssl", "cms", "-verify", "-binary", "-inform", "DER", "-in", folder / "signature", "-content",
                 metadata, "-CAfile", AUTHORITIES / "release.pem", "-purpose", "any", "-out", "/dev/null"])
            print(f"{label:24}{tool:9.0f} ms{openssl:9.0f} ms{tool / openssl:8.2f}")
        reading, nothing = milliseconds(
            [*IN_WINE, BUILD / "tests" / "corvelctl_test.exe", "verify_release", metadata, __file__],
            [*IN_WINE, "cmd", "/c", "exit"])
        print(f"{'100 MB, no signature':24}{reading:9.0f} ms  (all but the system's cryptography)")
        print(f"{'a process, doing nothing':24}{nothing:9.0f} ms")
        opened = subprocess.run([*IN_WINE, BUILD / "bench" / "open_root_store.exe"], check=True, capture_output=True,
                                encoding="ascii").stdout.split()
        print(f"{'system root store':24}{float(opened[0]):9.0f} ms  ({opened[1]} certificates)")


main()
