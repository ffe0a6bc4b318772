"""verify_release, run by the real program built with authorities of which the tests have the keys."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from wine_host import CONFIG_FILE, CONFIG_FOLDER, ROOT, in_wine

BINARIES = pathlib.Path(os.environ["TEST_BINARIES"])
AUTHORITIES = BINARIES / "authorities"
METADATA = b'{"version":"4.2.1"}\n'
AUTHORITY_EXTENSIONS = "basicConstraints = critical, CA:TRUE\nkeyUsage = critical, keyCertSign"


class VerifyRelease(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        shutil.rmtree(CONFIG_FOLDER, ignore_errors=True)
        cls.metadata = cls.folder / "release.json"
        cls.metadata.write_bytes(METADATA)
        cls.issue(AUTHORITIES / "release", "release")
        cls.issue(AUTHORITIES / "developer", "developer")

    @classmethod
    def run_script(cls, script, *arguments):
        subprocess.run([ROOT / "scripts" / script, *arguments], cwd=cls.folder, check=True)

    @classmethod
    def issue(cls, authority, name, *options):
        cls.run_script("issue_signer", authority, name, *options)

    def sign(self, signer, *options, metadata=None):
        self.run_script("sign_release", metadata or self.metadata, "signature", signer, *options)
        return self.folder / "signature"

    def put(self, content):
        (self.folder / "signature").write_bytes(content)
        return self.folder / "signature"

    def expect(self, signature, trust, profile="production", verdict="failed", metadata=None):
        """Verifies and checks the whole verdict block; trust holds the letters of developer, release, system."""
        done = in_wine(BINARIES / "corvelctl_test.exe", "verify_release", metadata or self.metadata, signature,
                       cwd=self.folder, env={**os.environ, "SELF_UPDATE_PROFILE": f'"{profile}"'})
        developer, release, system = ("yes" if letter in trust else "no" for letter in "drs")
        self.assertEqual((done.stdout, done.stderr, done.returncode), (
            f"Verification result: {verdict}\n - Verification profile: {profile}\n - Trusted developer: {developer}\n"
            f" - Trusted release: {release}\n - Trusted by system: {system}\n", "", 0 if verdict == "success" else 1))

    def expect_usage_or_error(self, arguments, out, err):
        done = in_wine(BINARIES / "corvelctl_test.exe", "verify_release", *arguments, cwd=self.folder)
        self.assertEqual((done.returncode, done.stdout[:6], done.stderr), (1, out, err))

    def test_each_authority_is_told_and_judged_by_the_profile(self):
        self.expect(self.sign("release"), "r")
        self.expect(self.sign("release"), "r", "test")
        self.expect(self.sign("release"), "r", "unsigned", "success")
        self.expect(self.sign("developer"), "d", "test", "success")
        self.expect(self.sign("developer"), "d")

    def test_an_intermediate_is_taken_from_the_message(self):
        self.issue(AUTHORITIES / "release", "between", "30", AUTHORITY_EXTENSIONS)
        self.issue(self.folder / "between", "below")
        self.expect(self.sign("below", "-certfile", "between.pem"), "r")
        self.expect(self.sign("below"), "")

    def test_a_root_counts_once_the_system_has_it(self):
        self.run_script("issue_authorities", "other", "Someone else")
        self.issue(self.folder / "other" / "release", "foreign")
        self.expect(self.sign("foreign"), "")
        subprocess.run(["openssl", "x509", "-in", "other/release.pem", "-outform", "DER", "-out", "root.der"],
                       cwd=self.folder, check=True)
        self.assertEqual(in_wine(BINARIES / "add_root.exe", "root.der", cwd=self.folder).returncode, 0)
        self.expect(self.sign("foreign"), "s")

    def test_an_expired_signer_is_not_trusted(self):
        self.issue(AUTHORITIES / "release", "expired", "-1")
        self.expect(self.sign("expired"), "")

    def test_altered_metadata_is_not_trusted_but_under_the_profile_that_asks_for_nothing(self):
        altered = self.folder / "altered.json"
        altered.write_bytes(METADATA.replace(b"4", b"5"))
        self.expect(self.sign("developer"), "", "test", metadata=altered)
        self.expect(self.sign("developer"), "", "unsigned", "success", metadata=altered)

    def test_what_is_no_signature_is_trusted_by_nobody(self):
        genuine = self.sign("release").read_bytes()
        for content in METADATA, b"", genuine[:-1], genuine[:200], b"0\x80", b"0\x84\xff\xff\xff\xff":
            with self.subTest(content=content[:20]):
                self.expect(self.put(content), "")
        self.run_script("sign_release", self.metadata, "pem", "release", "-outform", "PEM")
        self.expect(self.folder / "pem", "")
        subprocess.run(["openssl", "crl2pkcs7", "-nocrl", "-certfile", "release.pem", "-outform", "DER", "-out",
                        "signature"], cwd=self.folder, check=True)
        self.expect(self.folder / "signature", "")
        self.expect(self.sign("release", "-nocerts"), "")

    def test_large_metadata_under_a_long_path_beyond_ascii(self):
        # The last component stays a name that Linux takes.
        deep = self.folder / ("größe-" * 20) / ("€" * 60) / "x" / ("y" * 100)
        deep.mkdir(parents=True)
        metadata = deep / "release.json"
        metadata.write_bytes(bytes(range(256)) * (100 * 4096))
        self.assertGreater(len(str(metadata)), 260)
        self.expect(self.sign("release", metadata=metadata), "r", metadata=metadata)

    def test_unreadable_operands_and_configuration_are_reported(self):
        self.expect_usage_or_error(["a"], "Usage:", "")
        self.expect_usage_or_error(["a", "create_support_bundle", "b"], "Usage:", "")
        self.expect_usage_or_error(["fehlt-€", self.metadata], "",
                                   "Failed to read inputs: read: fehlt-€: No such file or directory")
        missing = "/".join(["fehlt" * 40] * 2)
        self.expect_usage_or_error([missing, self.metadata], "",
                                   f"Failed to read inputs: read: {missing}: No such file or directory")
        CONFIG_FOLDER.mkdir()
        CONFIG_FILE.write_bytes(b"[")
        self.addCleanup(CONFIG_FILE.unlink)
        done = in_wine(BINARIES / "corvelctl_test.exe", "verify_release", "a", "b")
        self.assertIn("Fatal exception occurred loading config: FATAL ERROR: Config file is malformed: ", done.stderr)
        self.assertEqual(done.returncode, 1)


if __name__ == "__main__":
    unittest.main()
