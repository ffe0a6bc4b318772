"""What only a real Windows shows."""

import pathlib
import subprocess
import tempfile
import time
import zipfile

from verify_release_test import BINARIES, Signed
from wine_host import CONFIG_FOLDER, CORVELCTL, ROOT, HostTest, in_wine, only_windows

ENVIRONMENT = r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment"
SET = "set", "tenant_id", "6f9619ff-8b86-d011-b42d-00c04fc964ff"


@only_windows
class Windows(HostTest):
    def setUp(self):
        super().setUp()
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        CONFIG_FOLDER.mkdir()
        self.install_service()

    def bundle(self, *options):
        done = in_wine(CORVELCTL, "create_support_bundle", *options, cwd=self.folder, timeout=900)
        self.assertEqual(done.returncode, 0, done)
        return self.enterContext(zipfile.ZipFile(next(self.folder.glob("*.zip"))))

    def test_a_failed_bundle_is_in_the_event_log_of_the_next(self):
        in_wine("icacls", CONFIG_FOLDER, "/deny", "*S-1-1-0:(WD)")
        refused = in_wine(CORVELCTL, "create_support_bundle", "--exclude", "wu", cwd=CONFIG_FOLDER)
        self.assertEqual(refused.stdout.count("administrator-level permissions"), 1, refused)
        self.assertIn(b"MESSAGE=failed to open zip_writer", self.bundle("--exclude", "wu").read("corvel_syslog.txt"))

    def test_power_shell_writes_the_update_log(self):
        self.assertNotEqual(self.bundle().read("windows_update.log"), b"")

    def test_an_automatic_service_is_delayed(self):
        in_wine("sc", "config", "corvel-tracker", "start=", "auto")
        self.assertEqual(in_wine(CORVELCTL, *SET).returncode, 0)
        self.assertIn("DELAYED", in_wine("sc", "qc", "corvel-tracker").stdout)

    def test_without_elevation_the_service_is_not_restarted(self):
        shown = CONFIG_FOLDER / "shown"
        in_wine("runas", "/trustlevel:0x20000", f"cmd /c {CORVELCTL} {' '.join(SET)} >{shown} 2>&1")
        end = time.monotonic() + 60
        while time.monotonic() < end and not (shown.exists() and "\n" in shown.read_text()):
            time.sleep(0.1)
        self.assertIn("Access is denied", shown.read_text())

    def test_a_newer_msi_replaces_an_older_one_and_its_removal_leaves_nothing(self):
        tool = pathlib.Path(r"C:\Program Files\corvelctl\corvelctl.exe")
        for msi in sorted((ROOT / "build" / "msi").glob("*.msi")):  # by version
            self.assertEqual(in_wine("msiexec", "/i", msi, "/qn", timeout=600).returncode, 0)
            self.assertIn("Usage", in_wine(tool).stdout)
        self.assertIn(str(tool.parent), in_wine("reg", "query", ENVIRONMENT, "/v", "Path").stdout)
        self.assertEqual(in_wine("msiexec", "/x", msi, "/qn", timeout=600).returncode, 0)
        self.assertFalse(tool.exists())


@only_windows
class Signatures(Signed):
    def test_two_signers_are_both_trusted(self):
        self.expect("release", "rd", "-signer", "developer.pem", "-inkey", "developer.key")

    def test_altered_metadata_is_not_trusted_though_it_was_signed_with_attributes(self):
        subprocess.run(["openssl", "cms", "-sign", "-binary", "-signer", "developer.pem", "-in", "release.json",
                        "-inkey", "developer.key", "-outform", "DER", "-out", "signature"], cwd=self.folder, check=True)
        self.expect_verdict("d", profile="test", verdict="success")
        self.expect_verdict("", profile="test", judged=BINARIES / "authorities" / "release.pem")
