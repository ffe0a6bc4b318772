"""What scripts/package writes, made with the tool that has the tests' authorities: installed, upgraded, removed, and
vouching for itself."""

import filecmp
import json
import os
import pathlib
import runpy
import subprocess
import tempfile
import unittest
import zipfile

from wine_host import BINARIES, CORVELCTL, DRIVE_C, ROOT, in_wine, run_script

BUILD = pathlib.Path(CORVELCTL).parent
INSTALLED = DRIVE_C / "Program Files" / "corvelctl"
UNINSTALL = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall"
ENVIRONMENT = r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment"


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.write_packages = staticmethod(runpy.run_path(str(ROOT / "scripts" / "package"))["package"])
        cls.release = cls.package("release")
        cls.version = json.loads((cls.release / "release.json").read_text())["version"]
        cls.name = f"corvelctl-{cls.version}-x64"

    @classmethod
    def package(cls, folder, version=None):
        cls.write_packages(BUILD, cls.folder / folder, BINARIES / "corvelctl_test.exe", version)
        return cls.folder / folder

    def msiexec(self, option, msi):
        return in_wine("msiexec", option, msi, "/qn", cwd=msi.parent).returncode

    def expect_installed(self, *versions):
        """The versions that Windows lists, the files and the machine's PATH agree."""
        listed = in_wine("reg", "query", UNINSTALL, "/s", "/v", "DisplayVersion").stdout
        self.assertEqual([line.split()[-1] for line in listed.splitlines() if "REG_SZ" in line], [*versions])
        path = in_wine("reg", "query", ENVIRONMENT, "/v", "PATH").stdout
        self.assertEqual(path.count(r"C:\Program Files\corvelctl"), len(versions), path)
        self.assertEqual(INSTALLED.exists(), bool(versions))
        # Found through the PATH; Wine's cmd gives up at the empty parts that Wine's installer leaves in it.
        done = in_wine("corvelctl.exe", cwd=self.folder)
        self.assertEqual(done.stdout.startswith("Usage: corvelctl set"), bool(versions), done)

    def test_made_again_they_are_the_same(self):
        again = self.package("again")
        names = sorted(path.name for path in self.release.iterdir())
        self.assertEqual(names, ["SHA256SUMS", f"{self.name}-symbols.zip", f"{self.name}.msi",
                                 f"{self.name}.spdx.json", f"{self.name}.zip", "release.json"])
        self.assertEqual(filecmp.cmpfiles(self.release, again, names, shallow=False), (names, [], []))
        subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=self.release, check=True)

    def test_hold_the_executable_the_documents_and_every_librarys_notice(self):
        with zipfile.ZipFile(self.release / f"{self.name}.zip") as archive:
            files = {name.removeprefix(f"{self.name}/"): archive.read(name) for name in archive.namelist()}
        self.assertEqual(files.pop("corvelctl.exe"), (BINARIES / "corvelctl_test.exe").read_bytes())
        notices = files.pop("THIRD_PARTY_NOTICES.txt").decode()
        materials = json.loads((self.release / f"{self.name}.spdx.json").read_text())["packages"]
        self.assertEqual(len(materials), 8)
        for library in materials[1:]:
            self.assertIn(f"\n{library['name']} {library['versionInfo']}\n", notices)
            self.assertRegex(library["packageVerificationCode"]["packageVerificationCodeValue"], "^[0-9a-f]{40}$")
        documents = [*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")]
        self.assertEqual(files, {path.relative_to(ROOT).as_posix(): path.read_bytes() for path in documents})
        self.assertIn(f"\n## {self.version}\n", files["CHANGELOG.md"].decode())

    def test_install_upgrade_and_go_without_a_trace(self):
        older = self.package("older", "0.9.0") / "corvelctl-0.9.0-x64.msi"
        newer = self.release / f"{self.name}.msi"
        self.expect_installed()
        self.assertEqual(self.msiexec("/i", older), 0)
        self.expect_installed("0.9.0")
        self.assertEqual(self.msiexec("/i", newer), 0)
        self.expect_installed(self.version)
        self.assertNotEqual(self.msiexec("/i", older), 0)
        self.expect_installed(self.version)
        self.expect_to_be_genuine()
        self.assertEqual(self.msiexec("/x", newer), 0)
        self.expect_installed()

    def expect_to_be_genuine(self):
        """The installed tool judges the packages that it came in."""
        run_script("issue_signer", BINARIES / "authorities" / "release", "signer", folder=self.folder)
        run_script("sign_release", self.release / "release.json", "release.p7s", "signer", folder=self.folder)
        done = in_wine("corvelctl.exe", "verify_release", self.release / "release.json", "release.p7s",
                       cwd=self.folder, env={**os.environ, "SELF_UPDATE_PROFILE": '"unsigned"'})
        self.assertEqual(done.stdout.splitlines()[0], "Verification result: success", done)

    def test_take_the_signature_of_a_deployer(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "key.pem", "-out",
                        "certificate.pem", "-subj", "/CN=Deployer", "-addext", "extendedKeyUsage=codeSigning"],
                       cwd=self.folder, check=True, capture_output=True)
        for file in self.release / f"{self.name}.msi", BINARIES / "corvelctl_test.exe":
            run_script("sign_code", file, f"signed{file.suffix}", "certificate.pem", "key.pem", folder=self.folder)
        self.assertEqual(in_wine(self.folder / "signed.exe").stdout[:6], "Usage:")
        self.assertEqual(self.msiexec("/i", self.folder / "signed.msi"), 0)
        self.expect_installed(self.version)
        self.assertEqual(self.msiexec("/x", self.folder / "signed.msi"), 0)
