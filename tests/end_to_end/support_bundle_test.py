"""create_support_bundle, run by the real executable; its archives are read by other programs."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time
import zipfile

from wine_host import CONFIG_FILE, CONFIG_FOLDER, CORVELCTL, DRIVE_C, HostTest, in_wine

SCRATCH = DRIVE_C / "windows" / "Temp" / "corvel"
CBS = DRIVE_C / "windows" / "Logs" / "CBS" / "CBS.log"
FIXED = ["corvel_syslog.txt", "corvel_metadata.txt", "corvel_svcstatus.txt"]


class SupportBundle(HostTest):
    def setUp(self):
        super().setUp()
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="bündel-")))
        shutil.rmtree(SCRATCH, ignore_errors=True)
        CONFIG_FOLDER.mkdir(parents=True)
        self.install_service()

    def create(self, *options, good=True):
        """Makes a bundle, checks what is said about it and what readers say of it, and returns the archive."""
        done = in_wine(CORVELCTL, "create_support_bundle", *(options or ["--exclude", "wu"]), cwd=self.folder)
        outcome = "SUCCESS" if good else "ERROR while"
        said = re.fullmatch(r"creating corvel support bundle at: (Z:\S+\\(corvel-support-bundle_\d{4}-\d\d-\d\d_"
                            rf"\d\d-\d\d-\d\d\.zip))\n{outcome} writing corvel support bundle\n", done.stdout)
        self.assertTrue(said, done)
        self.assertEqual((done.returncode, done.stderr), (0 if good else 1, ""))
        path = self.folder / said.group(2)
        for reader in ["unzip", "-tq"], ["bsdtar", "-xOf"]:
            subprocess.run([*reader, path], check=True, stdout=subprocess.DEVNULL)
        return self.enterContext(zipfile.ZipFile(path))

    def test_members_stand_in_order_with_their_content_headers_times_and_attributes(self):
        CONFIG_FILE.write_text('{"log_level":"debug"}')
        for folder in SCRATCH, CBS.parent:
            folder.mkdir(parents=True, exist_ok=True)
        logs = {CONFIG_FOLDER / "update.log": b"1", CONFIG_FOLDER / "größe €.log": b"2" * 100000,
                CONFIG_FOLDER / "both.log": b"program data", SCRATCH / "both.log": b"scratch",
                SCRATCH / "update.log": b"3", SCRATCH / ".log": b"4", SCRATCH / ".a.log": b"5",
                SCRATCH / f"{'n' * 251}.log": b"6", CBS: b"7"}
        for path, content in logs.items():
            path.write_bytes(content)
            os.utime(path, (1700000000, 1700000000))
        for name in "Agent.LOG", "x.log.1", "log":
            (SCRATCH / name).write_bytes(b"not collected")
        (SCRATCH / "folder.log").mkdir()
        (CONFIG_FOLDER / "größe €.log").chmod(0o444)
        self.addCleanup(CBS.unlink)

        archive = self.create("--exclude", "x")
        self.assertEqual(archive.namelist(), [*FIXED, "corvel.json", "update.log", "windows_cbs.log", ".a.log",
                                              "both.log", "größe €.log", "n" * 251 + ".log", "update.log"])
        self.assertEqual(archive.read("both.log"), b"scratch")
        self.assertEqual(archive.read("größe €.log"), b"2" * 100000)
        self.assertEqual([archive.getinfo(name).external_attr & 1 for name in ("größe €.log", "both.log")], [1, 0])
        self.assertEqual(archive.read(archive.infolist()[4]), b"1")
        self.assertEqual(archive.read("corvel_svcstatus.txt"), b"SERVICE_RUNNING")
        for entry in archive.infolist():
            # The flags say UTF-8 names, best compression, and sizes behind the data.
            self.assertEqual((entry.create_system, entry.create_version, entry.compress_type, entry.flag_bits),
                             (10, 45, zipfile.ZIP_DEFLATED, 0x80A), entry.filename)
        self.assertEqual(len({entry.date_time for entry in archive.infolist()[:3]}), 1)
        self.assertEqual(archive.infolist()[4].date_time[:5], time.localtime(1700000000)[:5])

    def test_the_metadata_tells_of_configuration_and_machine(self):
        for content, malformed in (None, True), ("", True), ("// c\n{}", True), ('{"x":"ü"}', False):
            there = content is not None
            if there:
                CONFIG_FILE.write_text(content, encoding="utf-8")
            text = self.create().read("corvel_metadata.txt").decode("utf-8")
            document = json.loads(text)
            self.assertEqual({key: document[key] for key in document if key.startswith("cfg")}, {
                "cfgfile_path_findable": True, "cfgfile_filepath": r"C:\ProgramData\corvel\corvel.json",
                "cfgfile_contents": content if there else "unknown", "cfgfile_exists": there,
                "cfgfile_readable": there, "cfgfile_json_malformed": malformed})
        self.assertEqual(text, json.dumps(document, sort_keys=True, separators=(",", ":"), ensure_ascii=False))
        self.assertEqual((document["agent_package_type"], document["os_class"], document["logstyle"]), ("MSI", 4, 0))
        self.assertEqual(document["hostname"].lower(), in_wine("hostname").stdout.strip().lower())
        self.assertRegex(document["ip_addresses"], r"^(\d+\.\d+\.\d+\.\d+|Unknown ip)$")
        self.assertEqual(document["arch"], {"build": "x86_64", "native": "x64"})
        self.assertEqual(document["os_licenses"], ["Unknown", "product_type=28"])
        self.assertEqual(document["entitlements"], [{"status": "LICENSED", "type": "license"}])
        self.assertRegex(document["system_uptime_since"], r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{7}$")

    def test_what_cannot_be_had_fails_its_member_alone(self):
        self.remove_service()
        CONFIG_FILE.write_bytes(b"\xff")
        (CONFIG_FOLDER / "update.log").write_bytes(b"x")
        archive = self.create(good=False)
        self.assertEqual(archive.namelist(), [FIXED[0], "corvel.json", "update.log"])
        self.assertEqual(archive.read("corvel.json"), b"\xff")

    def test_a_missing_program_data_folder_ends_the_command_abnormally_and_without_an_archive(self):
        CONFIG_FOLDER.rmdir()
        done = in_wine(CORVELCTL, "create_support_bundle", "--exclude", "wu", cwd=self.folder)
        self.assertNotIn(done.returncode, (0, 1))
        self.assertIn("directory_iterator::directory_iterator", done.stderr)
        self.assertEqual(list(self.folder.iterdir()), [])
