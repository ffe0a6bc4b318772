"""create_support_bundle, run by the real executable; its archives are read by other programs."""

import calendar
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile

from wine_host import CONFIG_FILE, CONFIG_FOLDER, CORVELCTL, DRIVE_C, PREFIX, HostTest, in_wine, only_wine

SCRATCH = DRIVE_C / "windows" / "Temp" / "corvel"
CBS = DRIVE_C / "windows" / "Logs" / "CBS" / "CBS.log"
FIXED = ["corvel_syslog.txt", "corvel_metadata.txt", "corvel_svcstatus.txt"]
READERS = ["unzip", "-tq"], ["bsdtar" if PREFIX else "C:/Windows/System32/tar", "-xOf"], ["7z", "t"], [sys.executable, "-m", "zipfile", "-t"]
REGISTRY = """REGEDIT4\n
[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion]
"CurrentVersion"="{}"\n"CurrentBuildNumber"="{}"\n"CSDVersion"="{}"\n"DisplayVersion"=-\n"ReleaseId"=-\n{}\n
[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\Server\\ServerLevels]\n"ServerCore"={}\n
[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\ProductOptions]\n"ProductType"="{}"\n"""


class SupportBundle(HostTest):
    def setUp(self):
        super().setUp()
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="bündel-")))
        shutil.rmtree(SCRATCH, ignore_errors=True)
        CONFIG_FOLDER.mkdir(parents=True)
        self.install_service()

    def create(self, *options, good=True, **environment):
        """Makes a bundle, checks what is said about it and what readers say of it, and returns the archive."""
        done = in_wine(CORVELCTL, "create_support_bundle", *(options or ["--exclude", "wu"]), cwd=self.folder, env={**os.environ, **environment})
        outcome = "SUCCESS" if good else "ERROR while"
        said = re.fullmatch(r"creating corvel support bundle at: ([A-Z]:\S+\\(corvel-support-bundle_\d{4}-\d\d-\d\d_"
                            rf"\d\d-\d\d-\d\d\.zip))\n{outcome} writing corvel support bundle\n", done.stdout)
        self.assertTrue(said, done)
        self.assertEqual((done.returncode, done.stderr), (0 if good else 1, ""))
        path = self.folder / said.group(2)
        for reader in READERS:
            subprocess.run([*reader, path], check=True, stdout=subprocess.DEVNULL)
        return self.enterContext(zipfile.ZipFile(path))

    def document(self, **options):
        return json.loads(self.create(**options).read("corvel_metadata.txt"))

    @only_wine
    def test_members_stand_in_order_with_their_content_headers_times_and_attributes(self):
        logs = {CONFIG_FOLDER / "update.log": b"1", CONFIG_FOLDER / "größe €.log": b"2" * 100000, CONFIG_FILE: b"{}",
                CONFIG_FOLDER / "both.log": b"program data", SCRATCH / "both.log": b"scratch", SCRATCH / "update.log": b"3",
                SCRATCH / ".log": b"4", SCRATCH / ".a.log": b"5", SCRATCH / f"{'n' * 251}.log": b"6", CBS: b"7",
                **{SCRATCH / name: b"not collected" for name in ("Agent.LOG", "x.log.1", "log")}}
        self.addCleanup(shutil.rmtree, CBS.parent)
        for path, content in logs.items():
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
            os.utime(path, (1600000000, 1700000000))
        (SCRATCH / "folder.log").mkdir()
        (CONFIG_FOLDER / "größe €.log").chmod(0o444)

        archive = self.create("--exclude", "x", TZ="JST-9")
        members = [(entry.filename, archive.read(entry)) for entry in archive.infolist()]
        self.assertEqual([name for name, _ in members[:3]], FIXED)
        self.assertEqual(members[2:], [
            (FIXED[2], b"SERVICE_RUNNING"), ("corvel.json", b"{}"), ("update.log", b"1"), ("windows_cbs.log", b"7"), (".a.log", b"5"),
            ("both.log", b"scratch"), ("größe €.log", b"2" * 100000), ("n" * 251 + ".log", b"6"), ("update.log", b"3")])
        # The flags say UTF-8 names, best compression, and sizes after the data.
        self.assertEqual({(entry.create_system, entry.create_version, entry.compress_type, entry.flag_bits, entry.external_attr & 1)
                          for entry in archive.infolist()}, {(10, 45, zipfile.ZIP_DEFLATED, 0x80A, read_only) for read_only in (0, 1)})
        # The name has UTC, the list local time.
        named = calendar.timegm(time.strptime(archive.filename[-23:-4], "%Y-%m-%d_%H-%M-%S"))
        made, *others = [calendar.timegm((*entry.date_time, 0, 0, 0)) - 9 * 3600 for entry in archive.infolist()]
        self.assertLess(abs(time.time() - named) + abs(time.time() - made), 100)
        self.assertEqual(others, [made] * 2 + [1700000000] * 8)
        accessed = {int.from_bytes(entry.extra[-16:-8], "little") for entry in archive.infolist()[4:]}
        self.assertEqual(accessed, {(1600000000 + 11644473600) * 10**7})

    def test_the_document_tells_of_the_configuration(self):
        for content, malformed in (None, True), ("", True), ("// c\n{}", True), ("[[[[", True), ('{"x":"ü"}', False):
            there = content is not None
            if there:
                CONFIG_FILE.write_bytes(content.encode())
            document = self.document()
            self.assertEqual([document[f"cfgfile_{key}"] for key in ("path_findable", "filepath", "contents", "exists", "readable", "json_malformed")],
                             [True, r"C:\ProgramData\corvel\corvel.json", content if there else "unknown", there, there, malformed])
        CONFIG_FILE.write_bytes(b"\xFF")
        self.assertNotIn("corvel_metadata.txt", self.create(good=False).namelist())
        CONFIG_FILE.unlink()
        CONFIG_FILE.mkdir()
        document = self.document(good=False)
        self.assertEqual((document["cfgfile_exists"], document["cfgfile_readable"]), (True, False))

    @only_wine
    def test_the_document_tells_of_the_machine(self):
        document = self.document()
        self.assertEqual([document[key] for key in ("arch", "os_licenses", "entitlements", "os_name")], [
            {"build": "x86_64", "native": "x64"}, ["Unknown", "product_type=28"], [{"status": "LICENSED", "type": "license"}],
            "Windows 7 for x64-based Systems Service Pack 1"])

    @only_wine
    def test_windows_is_named_after_the_registry(self):
        def describe(*values):
            (self.folder / "changes.reg").write_text(REGISTRY.format(*values))
            in_wine("reg", "import", self.folder / "changes.reg")

        self.addCleanup(describe, "6.1", 7601, "Service Pack 1", "", "-", "WinNT")
        for name, *values in (("Windows 11 Version 23H2 for x64-based Systems", 22631, "", '"DisplayVersion"="23H2"', "-", "WinNT"),
                              ("Windows 10 Version 2009 for x64-based Systems", 19045, "", '"ReleaseId"="2009"', "-", "WinNT"),
                              ("Windows Server 2019 (Server Core Installation)", 17763, "", "", "dword:1", "ServerNT"),
                              ("Windows Server 2022", 20348, "", '"DisplayVersion"="21H2"', "dword:0", "LanmanNT"),
                              ("Windows Unknown", 10240, "", "", "-", "ServerNT")):
            describe("10.0", *values)
            self.assertEqual(self.document()["os_name"], name)

    def test_a_missing_program_data_folder_ends_the_command_abnormally_and_without_an_archive(self):
        CONFIG_FOLDER.rmdir()
        done = in_wine(CORVELCTL, "create_support_bundle", "--exclude", "wu", cwd=self.folder)
        self.assertNotIn(done.returncode, (0, 1))
        self.assertIn("directory_iterator::directory_iterator", done.stderr)
        self.assertEqual(list(self.folder.iterdir()), [])
