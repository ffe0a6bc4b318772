"""Prints how long verify_release takes from start to verdict, and `openssl cms -verify` on the same files."""

import os
import pathlib
import statistics
import tempfile

from project import run_script
from timing import BUILD, HOST, in_turns, seconds

AUTHORITIES = BUILD / "tests" / "authorities"


def milliseconds(*measurements):
    return [statistics.median(taken) * 1000 for taken in in_turns(7, *measurements)]


def verify(metadata, signature):
    return HOST.seconds(BUILD / "tests" / "corvelctl_test.exe", "verify_release", metadata, signature)


def verify_with_openssl(metadata, signature):
    return seconds("openssl", "cms", "-verify", "-binary", "-inform", "DER", "-in", signature, "-content", metadata,
                   "-CAfile", AUTHORITIES / "release.pem", "-purpose", "any", "-out", "/dev/null")


def main():
    os.environ["SELF_UPDATE_PROFILE"] = '"unsigned"'
    HOST.start_up()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        metadata, signature = folder / "metadata", folder / "signature"
        run_script("issue_signer", AUTHORITIES / "release", "signer", folder=folder)
        print(f"{'verify_release':24}{'corvelctl':>12}{'openssl':>12}{'ratio':>8}")
        for label, size in ("1 KB metadata", 1000), ("100 MB metadata", 100_000_000):
            metadata.write_bytes(os.urandom(1000) * (size // 1000))
            run_script("sign_release", metadata, signature, "signer", folder=folder)
            tool, openssl = milliseconds(lambda: verify(metadata, signature),
                                         lambda: verify_with_openssl(metadata, signature))
            print(f"{label:24}{tool:9.0f} ms{openssl:9.0f} ms{tool / openssl:8.2f}")
        signature.write_text("no signature")
        reading, nothing = milliseconds(lambda: verify(metadata, signature), lambda: HOST.seconds("cmd", "/c", "exit"))
        print(f"{'100 MB, no signature':24}{reading:9.0f} ms  (all but the system's cryptography)")
        print(f"{'a process, doing nothing':24}{nothing:9.0f} ms")
        taken, count = HOST.output(BUILD / "bench" / "open_root_store.exe").split()
        print(f"{'system root store':24}{float(taken):9.0f} ms  ({count} certificates)")


main()
