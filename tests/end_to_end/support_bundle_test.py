"""create_support_bundle, run by the real executable; its archives are read by other programs."""

import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import time
import unittest
import zipfile

from wine_host import CONFIG_FILE, CONFIG_FOLDER, CORVELCTL, DRIVE_C, HostTest, in_wine

SCRATCH = DRIVE_C / "windows" / "Temp" / "corvel"
FIXED = ["corvel_syslog.txt", "corvel_metadata.txt", "corvel_svcstatus.txt"]
CURRENT_VERSION = r"HKLM\Software\Microsoft\Windows NT\CurrentVersion"


class SupportBundle(HostTest):
    def setUp(self):
        super().setUp()
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="bündel-")))
        shutil.rmtree(SCRATCH, ignore_errors=True)
        CONFIG_FOLDER.mkdir(parents=True)
        self.install_service()

    def create(self, *arguments, good=True):
        """Makes a bundle, checks what is said about it, and returns the archive."""
        done = in_wine(CORVELCTL, *(arguments or ["create_support_bundle", "--exclude", "wu"]), cwd=self.folder)
        outcome = "SUCCESS" if good else "ERROR while"
        said = re.fullmatch(r"creating corvel support bundle at: (Z:\S+\\(corvel-support-bundle_\d{4}-\d\d-\d\d_"
                            rf"\d\d-\d\d-\d\d\.zip))\n{outcome} writing corvel support bundle\n", done.stdout)
        self.assertTrue(said, done)
        self.assertEqual((done.returncode, done.stderr), (0 if good else 1, ""))
        self.path = self.folder / said.group(2)
        subprocess.run(["unzip", "-tq", self.path], check=True, stdout=subprocess.DEVNULL)
        archive = zipfile.ZipFile(self.path)
        self.addCleanup(archive.close)
        return archive

    def metadata(self):
        return json.loads(self.create().read("corvel_metadata.txt"))

    def test_members_stand_in_order_with_their_content_headers_times_and_attributes(self):
        CONFIG_FILE.write_text('{"log_level":"debug"}')
        SCRATCH.mkdir(parents=True)
        logs = {CONFIG_FOLDER / "update.log": b"1", CONFIG_FOLDER / "größe €.log": b"2" * 100000,
                CONFIG_FOLDER / "both.log": b"program data", SCRATCH / "both.log": b"scratch",
                SCRATCH / "update.log": b"3", SCRATCH / ".log": b"4", SCRATCH / ".a.log": b"5",
                SCRATCH / f"{'n' * 251}.log": b"6"}
        for path, content in logs.items():
            path.write_bytes(content)
            os.utime(path, (1700000000, 1700000000))
        for name in "Agent.LOG", "x.log.1", "log":
            (SCRATCH / name).write_bytes(b"not collected")
        (SCRATCH / "folder.log").mkdir()
        (CONFIG_FOLDER / "both.log").chmod(0o444)

        archive = self.create()
        names = [".a.log", "both.log", "n" * 251 + ".log", "update.log", "größe €.log"]
        self.assertEqual([entry.filename for entry in archive.infolist()],
                         [*FIXED, "corvel.json", "update.log", *sorted(names, key=lambda name: name.encode())])
        self.assertEqual(archive.read("both.log"), b"scratch")
        self.assertEqual(archive.read("größe €.log"), b"2" * 100000)
        self.assertEqual(archive.read(archive.infolist()[4]), b"1")
        self.assertEqual(archive.read("corvel_svcstatus.txt"), b"SERVICE_RUNNING")
        for entry in archive.infolist():
            self.assertEqual((entry.create_system, entry.create_version, entry.compress_type, entry.flag_bits & 0x800),
                             (10, 45, zipfile.ZIP_DEFLATED, 0x800), entry.filename)
        self.assertEqual(len({entry.date_time for entry in archive.infolist()[:3]}), 1)
        stamped = time.localtime(1700000000)[:6]
        self.assertEqual(archive.infolist()[4].date_time[:5], stamped[:5])
        self.assertEqual(self.path.read_bytes()[:4] + self.path.read_bytes()[6:10],
                         b"PK\3\4" + struct.pack("<HH", archive.infolist()[0].flag_bits, 8))

    def test_the_metadata_tells_of_configuration_and_machine(self):
        CONFIG_FILE.write_text('{"x":"ü"}', encoding="utf-8")
        text = self.create().read("corvel_metadata.txt").decode("utf-8")
        document = json.loads(text)
        self.assertEqual(text, json.dumps(document, sort_keys=True, separators=(",", ":"), ensure_ascii=False))
        self.assertEqual({key: document[key] for key in document if key.startswith("cfg")}, {
            "cfgfile_path_findable": True, "cfgfile_filepath": r"C:\ProgramData\corvel\corvel.json",
            "cfgfile_contents": '{"x":"ü"}', "cfgfile_exists": True, "cfgfile_readable": True,
            "cfgfile_json_malformed": False})
        self.assertEqual((document["agent_package_type"], document["os_class"], document["logstyle"]), ("MSI", 4, 0))
        self.assertRegex(document["system_uptime_since"], r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{7}$")

    def test_a_configuration_that_is_missing_empty_or_malformed_is_told(self):
        keys = "cfgfile_exists", "cfgfile_readable", "cfgfile_json_malformed", "cfgfile_contents"
        self.assertEqual([self.metadata()[key] for key in keys], [False, False, True, "unknown"])
        for content in "", "{", "// c\n{}":
            CONFIG_FILE.write_text(content)
            self.assertEqual([self.metadata()[key] for key in keys], [True, True, True, content])

    def test_a_configuration_that_is_not_utf8_fails_the_metadata_alone(self):
        CONFIG_FILE.write_bytes(b"\xff")
        archive = self.create(good=False)
        self.assertEqual(archive.namelist(), [FIXED[0], FIXED[2], "corvel.json"])
        self.assertEqual(archive.read("corvel.json"), b"\xff")

    def test_a_locked_log_or_a_missing_service_fails_its_member_alone(self):
        self.remove_service()
        (CONFIG_FOLDER / "z.log").write_bytes(b"x")
        self.assertEqual(self.create(good=False).namelist(), [*FIXED[:2], "z.log"])

    def test_windows_update_logs_are_collected_unless_excluded(self):
        for arguments, collected in {("create_support_bundle",): True, ("foo", "create_support_bundle"): True,
                                     ("create_support_bundle", "--exclude"): True,
                                     ("create_support_bundle", "--exclude", "x"): True,
                                     ("create_support_bundle", "--exclude", "wu"): False}.items():
            (DRIVE_C / "windows" / "Logs" / "CBS").mkdir(parents=True, exist_ok=True)
            (DRIVE_C / "windows" / "Logs" / "CBS" / "CBS.log").write_bytes(b"cbs")
            self.assertEqual("windows_cbs.log" in self.create(*arguments).namelist(), collected, arguments)

    def test_power_shell_is_not_taken_from_the_current_folder(self):
        shutil.copy(os.environ["FIXTURE_SERVICE"], self.folder / "powershell.exe")
        self.create("create_support_bundle")
        self.assertFalse((self.folder / "not-a-service.txt").exists())

    def test_the_name_of_the_system_is_made_from_what_it_reports(self):
        def put(name, value, kind="REG_SZ"):
            in_wine("reg", "add", CURRENT_VERSION, "/v", name, "/t", kind, "/d", value, "/f")

        self.addCleanup(lambda: [put("CurrentVersion", "6.1"), put("CurrentBuildNumber", "7601"),
                                 put("CSDVersion", "Service Pack 1"), put("DisplayVersion", "")])
        put("CurrentVersion", "10.0")
        put("CurrentBuildNumber", "22631")
        put("CSDVersion", "")
        put("DisplayVersion", "23H2")
        name = self.metadata()["os_name"]
        self.assertRegex(name, r"^Windows 1[01] Version 23H2 for x64-based Systems$")

    def test_a_missing_program_data_folder_ends_the_command_without_an_archive(self):
        CONFIG_FOLDER.rmdir()
        done = in_wine(CORVELCTL, "create_support_bundle", "--exclude", "wu", cwd=self.folder)
        self.assertNotIn(done.returncode, (0, 1))
        self.assertIn("directory_iterator::directory_iterator", done.stderr)
        self.assertEqual(list(self.folder.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
