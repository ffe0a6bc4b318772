"""What scripts/package writes, of the tool with the tests' authorities: installed, upgraded, in use, removed."""

import json
import os
import pathlib
import runpy
import subprocess
import tempfile
import unittest.mock

from wine_host import BINARIES, CORVELCTL, DRIVE_C, ROOT, in_wine, run_script

SCRIPT = runpy.run_path(str(ROOT / "scripts" / "package"))
EXECUTABLE = BINARIES / "corvelctl_test.exe"
AUTHORITIES = {role: BINARIES / "authorities" / f"{role}.pem" for role in ("release", "developer")}
INSTALLED = DRIVE_C / "Program Files" / "corvelctl"


def package(folder, **options):
    return SCRIPT["package"](pathlib.Path(CORVELCTL).parent, pathlib.Path(folder),
                             **{"executable": EXECUTABLE, "authorities": AUTHORITIES, **options})


def output(*command, cwd="."):
    return subprocess.run(command, check=True, capture_output=True, encoding="utf-8", cwd=cwd).stdout


def rows_of(msi, table):
    head, _, _, *rows = (line.split("\t") for line in output("msiinfo", "export", msi, table).splitlines())
    return {row[0]: dict(zip(head, row)) for row in rows}


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        os.chdir(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.metadata = package("release")
        cls.name = f"corvelctl-{cls.metadata['version']}-x64"

    def expect_installed(self, *versions):
        listed = in_wine("reg", "query", r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall", "/s").stdout
        self.assertEqual([line.split()[-1] for line in listed.splitlines() if "DisplayVersion" in line], [*versions])
        path = in_wine("reg", "query", r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment").stdout
        self.assertEqual((path.count(f"\\{INSTALLED.name}"), INSTALLED.exists()), (len(versions), bool(versions)), path)

    def test_are_the_same_when_made_again_but_other_pages_have_another_code(self):
        os.mkdir("again")
        pathlib.Path("again/release.p7s").touch()
        package("again")
        self.assertEqual(sorted(os.listdir("again")), sorted(os.listdir("release")))
        output("sha256sum", "--check", "../release/SHA256SUMS", cwd="again")
        with unittest.mock.patch.dict(SCRIPT["DOCUMENTS"], {"README.md": "readme.txt"}):
            package("again")
        self.assertNotEqual(*(rows_of(f"{folder}/{self.name}.msi", "_SummaryInformation")["9"]
                              for folder in ("again", "release")))

    def test_are_made_of_what_is_committed_and_name_the_authorities_that_are_built_in(self):
        output("git", "clone", "--quiet", ROOT, "clone")
        clone = pathlib.Path("clone"), self.metadata["commit"][:40]
        self.assertTrue(SCRIPT["materials"].is_checkout(*clone))
        os.remove("clone/README.md")
        self.assertFalse(SCRIPT["materials"].is_checkout(*clone))
        self.assertIn(b"README.md", subprocess.run(["clone/scripts/package"], capture_output=True, check=False).stderr)
        fingerprint = output("openssl", "x509", "-in", AUTHORITIES["release"], "-noout", "-fingerprint", "-sha256")
        self.assertIn(self.metadata["authorities"]["release"], fingerprint.replace(":", "").lower())
        self.assertRaises(SystemExit, package, "none", authorities={"release": ROOT / "certs" / "release.pem"})

    def test_hold_what_administrators_read_and_the_licence_of_all_that_is_linked(self):
        output("unzip", f"release/{self.name}.zip")
        files = {file.name: file.read_bytes() for file in pathlib.Path(self.name).iterdir()}
        self.assertEqual(files.pop("corvelctl.exe"), EXECUTABLE.read_bytes())
        self.assertEqual({*files}, {"THIRD_PARTY_NOTICES.txt", *SCRIPT["DOCUMENTS"].values()})
        for text in files.values():
            self.assertEqual((text[:3], text.count(b"\n")), (b"\xEF\xBB\xBF", text.count(b"\r\n")))
        self.assertIn(f"\n## {self.metadata['version']}\r\n", files["changes.txt"].decode())
        materials = json.loads(pathlib.Path(f"release/{self.name}.spdx.json").read_text())
        for part in materials["packages"][1:]:
            self.assertIn(f"\n{part['name']} {part['versionInfo']}\r\n", files["THIRD_PARTY_NOTICES.txt"].decode())
        linked = {pathlib.PurePath(file["fileName"]).name for file in materials["files"]}
        self.assertLessEqual({"crt2u.o", "crtbegin.o", "libgcc_eh.a", "libmsvcrt.a", "libstdc++.a"}, linked)

    @unittest.mock.patch.dict(os.environ, SELF_UPDATE_PROFILE='"test"')
    def test_install_upgrade_judge_themselves_and_go_without_a_trace(self):
        image = EXECUTABLE.read_bytes()
        version = image.index(b"\xBD\x04\xEF\xFE") + 8
        pathlib.Path("older.exe").write_bytes(image[:version] + b"\x09" + bytes(7) + image[version + 8:])
        package("older", executable=pathlib.Path("older.exe"), version="0.9.0")
        run_script("issue_signer", BINARIES / "authorities" / "developer", "signer", folder=".")
        new = f"release/{self.name}.msi"
        run_script("sign_code", new, "new.msi", "signer.pem", "signer.key", AUTHORITIES["developer"], folder=".")
        for msi, version in ("older/corvelctl-0.9.0-x64.msi", "0.9.0"), ("new.msi", self.metadata["version"]):
            files, sequence = rows_of(msi, "File"), rows_of(msi, "InstallExecuteSequence")
            self.assertEqual({name: file["Version"] + file["Language"] for name, file in files.items()},
                             {**dict.fromkeys(rows_of(msi, "MsiFileHash"), ""), "corvelctl_exe": f"{version}.01033"})
            self.assertRegex("".join(file["FileName"] for file in files.values()), r"^(\w{8}\.\w{3}\|[\w-]+\.\w{3})+$")
            order = "InstallInitialize RemoveExistingProducts RemoveEnvironmentStrings RemoveFiles InstallFiles".split()
            self.assertEqual(sorted(order, key=lambda action: int(sequence[action]["Sequence"])), order)
            self.assertEqual(in_wine("msiexec", "/i", msi, "/qn").returncode, 0)
            self.expect_installed(version)
        self.assertTrue((INSTALLED / "corvelctl.exe").read_bytes() == EXECUTABLE.read_bytes())
        self.assertNotEqual(in_wine("msiexec", "/i", "older/corvelctl-0.9.0-x64.msi", "/qn").returncode, 0)
        self.expect_installed(version)
        run_script("sign_release", "release/release.json", "signature", "signer", folder=".")
        self.assertIn("success", in_wine("corvelctl.exe", "verify_release", "release/release.json", "signature").stdout)
        self.assertEqual(in_wine("msiexec", "/x", "new.msi", "/qn").returncode, 0)
        self.expect_installed()
