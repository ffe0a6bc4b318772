"""The scripts that issue authorities and signers, and what the build embeds of them."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
ORGANISATION = r"A/S + Größe, \"x\""


class Authorities(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.expect("issue_authorities", "ca", ORGANISATION)

    @classmethod
    def expect(cls, script, *arguments, refusal=None):
        """Runs a script; with a refusal, it must fail and say so."""
        done = subprocess.run([ROOT / "scripts" / script, *arguments], cwd=cls.folder, capture_output=True,
                              encoding="utf-8", check=False)
        if (done.returncode == 0) != (refusal is None) or (refusal or "") not in done.stderr:
            raise AssertionError(done)

    def openssl(self, *arguments):
        return subprocess.run(["openssl", *arguments], cwd=self.folder, check=True, capture_output=True,
                              encoding="utf-8").stdout

    def test_names_of_any_characters_are_issued_and_nothing_is_overwritten(self):
        before = (self.folder / "ca" / "release.key").read_bytes()
        self.expect("issue_authorities", "ca", refusal="ca/release.pem is there already")
        self.expect("issue_signer", "ca/release", "größe+1")
        self.expect("issue_signer", "ca/release", "größe+1", refusal="größe+1.pem is there already")
        self.expect("issue_signer", "ca/none", "other", refusal="ca/none.pem cannot be read")
        self.assertEqual((self.folder / "ca" / "release.key").read_bytes(), before)
        self.assertEqual(self.openssl("x509", "-in", "größe+1.pem", "-noout", "-subject", "-issuer", "-nameopt",
                                      "utf8,sep_comma_plus"),
                         f"subject=CN=größe+1\nissuer=C=US,O={ORGANISATION},CN=Release\n")

    def test_only_a_complete_certificate_is_embedded(self):
        self.openssl("x509", "-in", "ca/release.pem", "-outform", "DER", "-out", "whole.der")
        self.openssl("pkey", "-in", "ca/release.key", "-outform", "DER", "-out", "key.der")
        (self.folder / "cut.der").write_bytes((self.folder / "whole.der").read_bytes()[:700])
        for name, good in {"whole.der": True, "ca/release.pem": True, "cut.der": False, "key.der": False,
                           "ca/release.key": False}.items():
            done = subprocess.run(["cmake", "-D", "OPENSSL=openssl", "-D", f"RELEASE={name}", "-D",
                                   "DEVELOPER=ca/developer.pem", "-D", "OUTPUT=embedded.cpp", "-P",
                                   ROOT / "cmake" / "embed_authorities.cmake"], cwd=self.folder, capture_output=True,
                                  encoding="utf-8", check=False)
            self.assertEqual((done.returncode == 0, "no complete certificate" in done.stderr.replace("\n ", "")),
                             (good, not good), (name, done))

    def test_a_wine_prefix_is_an_absolute_path(self):
        self.expect("in_wine", "prefix", "cmd", refusal="'prefix' is not an absolute path")
        self.assertFalse((self.folder / "prefix").exists())
