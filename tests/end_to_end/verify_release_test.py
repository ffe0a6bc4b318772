"""verify_release, run by the real program built with authorities of which the tests have the keys."""

import hashlib
import os
import pathlib
import shutil
import ssl
import struct
import tempfile
import unittest

from wine_host import BINARIES, CONFIG_FOLDER, HOST, in_wine, run_script

AUTHORITIES = BINARIES / "authorities"
METADATA = b'{"version":"4.2.1"}\n'
AUTHORITY = "basicConstraints = critical, CA:TRUE\nkeyUsage = critical, keyCertSign"
SIGNER = "basicConstraints = critical, CA:FALSE\n"


class Signed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        shutil.rmtree(CONFIG_FOLDER, ignore_errors=True)
        cls.metadata = cls.folder / "release.json"
        cls.metadata.write_bytes(METADATA)
        cls.issue("release", AUTHORITIES / "release")
        cls.issue("developer", AUTHORITIES / "developer")

    @classmethod
    def issue(cls, name, authority, *extensions, days="30"):
        run_script("issue_signer", authority, name, days, *extensions, folder=cls.folder)

    def expect(self, signer, trust, *options, **judged):
        run_script("sign_release", self.metadata, "signature", signer, *options, folder=self.folder)
        self.expect_verdict(trust, **judged)

    def expect_verdict(self, trust, profile="production", verdict="failed", judged=None):
        """Verifies and checks the whole verdict block; trust holds the letters of developer, release, system."""
        done = in_wine(BINARIES / "corvelctl_test.exe", "verify_release", judged or self.metadata, "signature",
                       cwd=self.folder, env={**os.environ, "SELF_UPDATE_PROFILE": f'"{profile}"'})
        developer, release, system = ("yes" if letter in trust else "no" for letter in "drs")
        self.assertEqual((done.stdout, done.stderr, done.returncode), (
            f"Verification result: {verdict}\n - Verification profile: {profile}\n - Trusted developer: {developer}\n"
            f" - Trusted release: {release}\n - Trusted by system: {system}\n", "", 0 if verdict == "success" else 1))


class VerifyRelease(Signed):
    def let_the_system_trust(self, certificate):
        """Puts a certificate into a store of roots until the test ends."""
        der = ssl.PEM_cert_to_DER_cert((self.folder / certificate).read_text())
        root = rf"{HOST.roots}\Software\Microsoft\SystemCertificates\ROOT\Certificates\{hashlib.sha1(der).hexdigest().upper()}"
        blob = struct.pack("<III", 32, 1, len(der)) + der  # the property that is the certificate itself
        self.addCleanup(in_wine, "reg", "delete", root, "/f")
        self.assertEqual(in_wine("reg", "add", root, "/v", "Blob", "/t", "REG_BINARY", "/d", blob.hex()).returncode, 0)

    def test_each_authority_is_told_and_judged_by_the_profile(self):
        self.expect("release", "r")
        self.expect("release", "r", profile="test")
        self.expect("developer", "d", profile="test", verdict="success")
        self.expect("developer", "d")

    def test_an_intermediate_is_taken_from_the_message_if_it_may_issue_certificates(self):
        self.issue("between", AUTHORITIES / "release", f"{AUTHORITY}\nbasicConstraints = critical, CA:TRUE, pathlen:0")
        self.issue("below", "between")
        self.expect("below", "r", "-certfile", "between.pem")
        self.expect("below", "")
        self.issue("second", "between", AUTHORITY)
        self.issue("too_far_below", "second")
        (self.folder / "both.pem").write_text("".join((self.folder / f"{name}.pem").read_text() for name in ("between", "second")))
        self.expect("too_far_below", "", "-certfile", "both.pem")
        self.issue("below_a_signer", "release")
        self.expect("below_a_signer", "", "-certfile", "release.pem")

    def test_a_name_makes_no_authority_until_the_system_trusts_its_root_and_names_are_told_apart_by_case(self):
        # Only an administrator makes the system trust a root. One with a built-in authority's name is then known by it.
        for folder, name, trust in ("rival", "Corvel tests", "r"), ("other", "CORVEL TESTS", "s"):
            run_script("issue_authorities", folder, name, folder=self.folder)
            self.issue(f"of_{folder}", f"{folder}/release", SIGNER + "authorityKeyIdentifier = none")
            self.expect(f"of_{folder}", "")
            self.expect(f"of_{folder}", "", "-certfile", f"{folder}/release.pem")
            self.let_the_system_trust(f"{folder}/release.pem")
            self.expect(f"of_{folder}", trust, "-certfile", f"{folder}/release.pem")

    def test_a_signer_that_is_expired_or_has_an_unknown_critical_extension_is_not_trusted(self):
        self.issue("expired", AUTHORITIES / "release", days="-1")
        self.expect("expired", "")
        self.issue("critical", AUTHORITIES / "release", SIGNER + "1.2.3.4.5 = critical, ASN1:UTF8String:x")
        self.expect("critical", "")

    def test_altered_metadata_is_not_trusted_but_under_the_profile_that_asks_for_nothing(self):
        altered = self.folder / "altered.json"
        for content in METADATA.replace(b"4", b"5"), METADATA + b"\n", METADATA[:-1], b"":
            altered.write_bytes(content)
            self.expect("developer", "", profile="test", judged=altered)
        self.expect("developer", "", profile="unsigned", verdict="success", judged=altered)
