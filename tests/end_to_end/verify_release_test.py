"""verify_release, run by the real program built with authorities of which the tests have the keys."""

import hashlib
import os
import pathlib
import shutil
import ssl
import struct
import tempfile
import unittest

from wine_host import BINARIES, CONFIG_FOLDER, in_wine, run_script

AUTHORITIES = BINARIES / "authorities"
METADATA = b'{"version":"4.2.1"}\n'


class VerifyRelease(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        shutil.rmtree(CONFIG_FOLDER, ignore_errors=True)
        cls.metadata = cls.folder / "release.json"
        cls.metadata.write_bytes(METADATA)
        cls.run_script("issue_signer", AUTHORITIES / "release", "release")
        cls.run_script("issue_signer", AUTHORITIES / "developer", "developer")

    @classmethod
    def run_script(cls, script, *arguments):
        run_script(script, *arguments, folder=cls.folder)

    def expect(self, signer, trust, *options, profile="production", verdict="failed", metadata=None, judged=None):
        """Signs, verifies and checks the whole verdict block; trust holds the letters of developer, release, system."""
        metadata = metadata or self.metadata
        self.run_script("sign_release", metadata, "signature", signer, *options)
        done = in_wine(BINARIES / "corvelctl_test.exe", "verify_release", judged or metadata, "signature",
                       cwd=self.folder, env={**os.environ, "SELF_UPDATE_PROFILE": f'"{profile}"'})
        developer, release, system = ("yes" if letter in trust else "no" for letter in "drs")
        self.assertEqual((done.stdout, done.stderr, done.returncode), (
            f"Verification result: {verdict}\n - Verification profile: {profile}\n - Trusted developer: {developer}\n"
            f" - Trusted release: {release}\n - Trusted by system: {system}\n", "", 0 if verdict == "success" else 1))

    def test_each_authority_is_told_and_judged_by_the_profile(self):
        self.expect("release", "r")
        self.expect("release", "r", profile="test")
        self.expect("developer", "d", profile="test", verdict="success")
        self.expect("developer", "d")

    def test_an_intermediate_is_taken_from_the_message(self):
        self.run_script("issue_signer", AUTHORITIES / "release", "between", "30",
                        "basicConstraints = critical, CA:TRUE\nkeyUsage = critical, keyCertSign")
        self.run_script("issue_signer", "between", "below")
        self.expect("below", "r", "-certfile", "between.pem")
        self.expect("below", "")

    def test_a_root_counts_once_the_system_has_it(self):
        self.run_script("issue_authorities", "other", "Someone else")
        self.run_script("issue_signer", "other/release", "foreign")
        self.expect("foreign", "")
        der = ssl.PEM_cert_to_DER_cert((self.folder / "other" / "release.pem").read_text())
        root = rf"HKCU\Software\Microsoft\SystemCertificates\ROOT\Certificates\{hashlib.sha1(der).hexdigest().upper()}"
        blob = struct.pack("<III", 32, 1, len(der)) + der  # the property that is the certificate itself
        self.addCleanup(in_wine, "reg", "delete", root, "/f")
        self.assertEqual(in_wine("reg", "add", root, "/v", "Blob", "/t", "REG_BINARY", "/d", blob.hex()).returncode, 0)
        self.expect("foreign", "s")

    def test_an_expired_signer_is_not_trusted(self):
        self.run_script("issue_signer", AUTHORITIES / "release", "expired", "-1")
        self.expect("expired", "")

    def test_altered_metadata_is_not_trusted_but_under_the_profile_that_asks_for_nothing(self):
        altered = self.folder / "altered.json"
        altered.write_bytes(METADATA.replace(b"4", b"5"))
        self.expect("developer", "", profile="test", judged=altered)
        self.expect("developer", "", profile="unsigned", verdict="success", judged=altered)

    def test_large_metadata_under_a_long_path_beyond_ascii(self):
        metadata = self.folder / ("größe-" * 20) / ("€" * 60) / ("y" * 100) / "release.json"
        metadata.parent.mkdir(parents=True)
        metadata.write_bytes(bytes(range(256)) * (100 * 4096))
        self.expect("release", "r", metadata=metadata)
