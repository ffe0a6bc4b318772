"""What scripts/package writes, made with the tool that has the tests' authorities: installed, upgraded, removed, and
vouching for itself."""

import filecmp
import json
import os
import pathlib
import runpy
import shutil
import struct
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
        script = runpy.run_path(str(ROOT / "scripts" / "package"))
        cls.write_packages, cls.write_msi = staticmethod(script["package"]), staticmethod(script["write_msi"])
        cls.executable = BINARIES / "corvelctl_test.exe"
        cls.release = cls.package("release")
        cls.version = json.loads((cls.release / "release.json").read_text())["version"]
        cls.name = f"corvelctl-{cls.version}-x64"

    @classmethod
    def package(cls, folder, executable=None, version=None):
        cls.write_packages(BUILD, cls.folder / folder, executable or cls.executable, version)
        return cls.folder / folder

    @classmethod
    def older_executable(cls):
        """The executable with the version 0.9.0.0 in its resource."""
        image = bytearray(cls.executable.read_bytes())
        struct.pack_into("<II", image, image.index(struct.pack("<I", 0xFEEF04BD)) + 8, 9, 0)
        path = cls.folder / "older.exe"
        path.write_bytes(image)
        return path

    def table(self, msi, name):
        """A table of an MSI: the columns of each row, by the row's first one."""
        rows = subprocess.run(["msiinfo", "export", msi, name], check=True, capture_output=True,
                              encoding="ascii").stdout.splitlines()
        return {row.split("\t")[0]: dict(zip(rows[0].split("\t"), row.split("\t"))) for row in rows[3:]}

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

    def test_made_again_they_are_the_same_and_a_signature_of_others_is_gone(self):
        (self.folder / "again").mkdir()
        for name in "release.p7s", "corvelctl-0.8.0-x64.zip":
            (self.folder / "again" / name).touch()
        again = self.package("again")
        (again / "corvelctl-0.8.0-x64.zip").unlink()
        self.assertFalse((again / "release.p7s").exists())
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

    def test_tell_windows_installer_which_executable_is_newer(self):
        older = self.package("older", self.older_executable(), "0.9.0") / "corvelctl-0.9.0-x64.msi"
        for msi, version in (older, "0.9.0.0"), (self.release / f"{self.name}.msi", f"{self.version}.0"):
            files, hashes = self.table(msi, "File"), self.table(msi, "MsiFileHash")
            self.assertEqual({name: (file["Version"], file["Language"]) for name, file in files.items()},
                             {**dict.fromkeys(hashes, ("", "")), "corvelctl_exe": (version, "1033")})
            for file in files.values():
                self.assertRegex(file["FileName"], r"^\w{8}\.[A-Z]{2,3}\|[\w.-]+$")
            sequence = self.table(msi, "InstallExecuteSequence")
            order = [int(sequence[action]["Sequence"]) for action in (
                "InstallInitialize", "RemoveExistingProducts", "RemoveEnvironmentStrings", "RemoveFiles",
                "InstallFiles", "WriteEnvironmentStrings", "InstallFinalize")]
            self.assertEqual(order, sorted(order))

    def test_with_another_page_have_another_package_code(self):
        codes = set()
        for page in "one page", "another", "another":
            folder = self.folder / f"pages-{page}"
            folder.mkdir(exist_ok=True)
            shutil.copy(self.executable, folder / "corvelctl.exe")
            (folder / "page.md").write_text(page)
            self.write_msi(self.folder / "page.msi", folder, self.version, 1700000000)
            codes.add(self.table(self.folder / "page.msi", "_SummaryInformation")["9"]["Value"])
        self.assertEqual(len(codes), 2, codes)

    def test_install_upgrade_and_go_without_a_trace(self):
        older = self.package("older", self.older_executable(), "0.9.0") / "corvelctl-0.9.0-x64.msi"
        newer = self.release / f"{self.name}.msi"
        self.expect_installed()
        self.assertEqual(self.msiexec("/i", older), 0)
        self.expect_installed("0.9.0")
        self.assertEqual(self.msiexec("/i", newer), 0)
        self.expect_installed(self.version)
        self.assertEqual((INSTALLED / "corvelctl.exe").read_bytes(), self.executable.read_bytes())
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
