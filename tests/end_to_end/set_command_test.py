"""The set command and the dispatcher, run by the real executable against real files and a real service."""

import json
import subprocess
import unittest

from wine_host import (CONFIG_FILE, CONFIG_FOLDER, CORVELCTL, PREFIX, ROOT, SERVICE_RECORD, HostTest, on_terminal)

USAGE = """Usage: corvelctl set <key> <value> ...
  or   corvelctl create_support_bundle [--exclude wu]
  or   corvelctl verify_release <metadata-file> <signature-file>

Example: corvelctl set tenant_id <UUID>
  or     corvelctl create_support_bundle
"""
ID = "6f9619ff-8b86-d011-b42d-00c04fc964ff"
NIL = "00000000-0000-0000-0000-000000000000"
DEFAULTS = {"host_id": NIL, "log_level": "info", "self_update": True,
            "self_update_addr": "https://download.corvel.example/release.json", "self_update_profile": "production",
            "skip_power_check": False, "tenant_id": NIL, "webapp_addr": "https://app.corvel.example"}
NO_TENANT = "Tenant ID must be configured to non-nil value to start agent.\n"
RESTART_YOURSELF = "Please restart the corvel-tracker service manually so that the changes can go into effect.\n"
MALFORMED = "Fatal exception occurred loading config: FATAL ERROR: Config file is malformed: "


class SetCommand(HostTest):
    def expect_file(self, **values):
        """The file is compact JSON, sorted, all keys, no line feed."""
        wanted = json.dumps({**DEFAULTS, **values}, sort_keys=True, separators=(",", ":"), ensure_ascii=False)
        self.assertEqual(CONFIG_FILE.read_text(encoding="utf-8"), wanted)
        self.assertEqual([entry.name for entry in CONFIG_FOLDER.iterdir()], ["corvel.json"])

    def put_file(self, content):
        CONFIG_FOLDER.mkdir(parents=True, exist_ok=True)
        CONFIG_FILE.write_bytes(content)

    def test_anything_but_a_command_shows_the_usage(self):
        for arguments in [], ["Set"], ["sett", "x"], ["help", "set"]:
            self.corvelctl(*arguments, status=1, out=USAGE)

    def test_a_running_service_is_restarted_with_the_new_configuration(self):
        self.install_service()
        self.corvelctl("set", "tenant_id", ID.upper(), status=0)
        self.expect_file(tenant_id=ID)
        self.assertEqual(SERVICE_RECORD.read_text().split("\n"), ["stop control", "stopped", "running", ""])

    def test_a_stopped_service_is_only_started(self):
        self.install_service("--start-delay 300", start=False)
        self.corvelctl("set", "tenant_id", ID, status=0)
        self.assertEqual(SERVICE_RECORD.read_text(), "running\n")

    def test_a_failed_restart_is_shown_but_no_failure(self):
        self.corvelctl("set", "tenant_id", ID, status=0, out="error opening service manager on corvel service: "
                       "0x424 - Service does not exist.\n" + RESTART_YOURSELF)
        self.expect_file(tenant_id=ID)
        self.install_service("--refuse-stop")
        self.corvelctl("set", status=0, out="error stopping corvel service: 0x41c - Invalid service control.\n"
                       + RESTART_YOURSELF)

    def test_a_service_that_does_not_come_up_is_named(self):
        self.install_service("--stop-while-starting", start=False)
        self.corvelctl("set", "tenant_id", ID, status=0, out="error unexpected corvel service state:SERVICE_STOPPED "
                       "expected:SERVICE_RUNNING\n" + RESTART_YOURSELF)

    def test_every_key_is_stored_bare_or_as_json(self):
        self.corvelctl("set", "webapp_addr", "https://grüße.example/€", "host_id", f'"{ID}"', "log_level",
                       '"debug,dll=warning"', "self_update_addr", '"a\\u20acb"', "self_update_profile", '"test"',
                       "self_update", "false", "skip_power_check", "true", status=1, err=NO_TENANT)
        stored = {"webapp_addr": "https://grüße.example/€", "host_id": ID, "log_level": "debug,dll=warning",
                  "self_update_addr": "a€b", "self_update_profile": "test", "self_update": False,
                  "skip_power_check": True}
        self.expect_file(**stored)
        self.corvelctl("set", "webapp_addr", "first", "webapp_addr", "last", status=1, err=NO_TENANT)
        self.expect_file(**{**stored, "webapp_addr": "last"})

    def test_set_alone_writes_what_file_and_environment_hold(self):
        self.put_file(b'{"skip_power_check": true, "other": [1], "self_update": true, "self_update": false}\r\n')
        self.corvelctl("set", status=1, err=NO_TENANT, environment={"SELF_UPDATE": "true", "WEBAPP_ADDR": "gelände"})
        self.expect_file(skip_power_check=True, webapp_addr="gelände")

    def test_a_bad_value_is_named_and_nothing_written(self):
        parse_error = "[json.exception.parse_error.101] parse error at line 1, column 1: syntax error while parsing "
        cases = {
            ("tenant_id", NIL): "Error: tenant_id must be a valid UUID and not nil\n",
            ("host_id", "x", "unknown", "y"): "Error: host_id must be a valid UUID and not nil\n",
            ("tenant_id", "5"): "Error parsing value for tenant_id: [json.exception.type_error.302] type must be "
                                "string, but is number\n",
            ("skip_power_check", "true", "self_update", "yes", "webapp_addr", "123"):
                "Error parsing value for webapp_addr: [json.exception.type_error.302] type must be string, but is "
                "number\nError parsing value for self_update: [json.exception.type_error.302] type must be boolean, "
                "but is string\n",
            ("log_level", "é"): f"Error parsing value for log_level: {parse_error}value - invalid literal; last read: "
                                "'\ufffd'\n",
            ("self_update_profile", '"Production"'): "Error parsing value for self_update_profile: "
                "[json.exception.other_error.501] value must be one of unsigned, test, production\n",
            ("Tenant_id", 'a"€*'): 'Unknown key/value pairs: {"Tenant_id": "a\\"€*"}\n',
        }
        self.put_file(b"{}")
        for pairs, message in cases.items():
            with self.subTest(pairs=pairs):
                self.corvelctl("set", *pairs, status=1, err=message)
                self.assertEqual(CONFIG_FILE.read_bytes(), b"{}")

    def test_a_very_long_value_is_kept_whole(self):
        self.corvelctl("set", "webapp_addr", "ö" * 15000, status=1, err=NO_TENANT)
        self.expect_file(webapp_addr="ö" * 15000)

    def test_an_odd_number_of_arguments_is_told_before_the_file_is_read(self):
        self.put_file(b"{")
        self.corvelctl("set", "tenant_id", status=1, err="The set command must have an even number of arguments\n")

    def test_a_malformed_file_is_fatal_and_left_alone(self):
        messages = {
            b"{}\0": "[json.exception.parse_error.101] parse error at byte 3: NUL byte in JSON text\n",
            b'{"webapp_addr": "\xff"}': "[json.exception.parse_error.101] parse error at line 1, column 18: syntax "
                 "error while parsing value - invalid string: ill-formed UTF-8 byte; last read: '\"\ufffd'\n",
            b'{"self_update": "yes"}': "[json.exception.type_error.302] type must be boolean, but is string\n",
        }
        for content, message in messages.items():
            self.put_file(content)
            self.corvelctl("set", "tenant_id", ID, status=1, err=MALFORMED + message)
            self.assertEqual(CONFIG_FILE.read_bytes(), content)

    def test_a_file_that_cannot_be_replaced_stays(self):
        self.put_file(b"{}")
        self.install_service(r"--hold C:\ProgramData\corvel\corvel.json")
        self.corvelctl("set", "tenant_id", ID, status=1, err="Could not write new config: Access denied.\n")
        self.assertEqual(CONFIG_FILE.read_bytes(), b"{}")
        self.assertEqual([entry.name for entry in CONFIG_FOLDER.iterdir()], ["corvel.json"])

    def test_a_temporary_file_that_cannot_be_deleted_is_reported(self):
        (CONFIG_FOLDER / "corvel.json._corvel_tmp").mkdir(parents=True)
        self.corvelctl("set", "tenant_id", ID, status=1, err="Could not write new config: File exists\n")
        self.assertFalse(CONFIG_FILE.exists())

    def test_text_that_cannot_be_written_changes_nothing(self):
        with open("/dev/full", "wb") as full:
            for arguments, status in (["set", "tenant_id", ID], 0), (["set", "x", "y"], 1), ([], 1):
                done = subprocess.run([ROOT / "scripts" / "in_wine", PREFIX, CORVELCTL, *arguments], stdout=full,
                                      stderr=full, timeout=120, check=False)
                self.assertEqual(done.returncode, status, arguments)
        self.expect_file(tenant_id=ID)

    def test_a_file_in_the_place_of_the_folder_is_reported(self):
        CONFIG_FOLDER.write_bytes(b"")
        try:
            self.corvelctl("set", status=1, err="Could not create config directory: File already exists.\n")
        finally:
            CONFIG_FOLDER.unlink()

    def test_a_terminal_shows_the_same_messages(self):
        status, shown = on_terminal(CORVELCTL, "set", "€", "x", "é", "y")
        self.assertEqual(status, 1)
        self.assertIn("Unknown key/value pairs: {", shown)
        self.assertIn('"€": "x"', shown)
        status, shown = on_terminal(CORVELCTL, "set", "log_level", "é")
        self.assertEqual(status, 1)
        self.assertIn("invalid literal; last read: '\ufffd'", shown)


if __name__ == "__main__":
    unittest.main()
