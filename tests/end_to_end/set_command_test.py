"""The set command and the dispatcher, run by the real executable against real files and a real service."""

import json
import subprocess
import unittest

from wine_host import CONFIG_FILE, CONFIG_FOLDER, CORVELCTL, IN_WINE, PREFIX, SERVICE_RECORD, HostTest, in_wine

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
NO_SERVICE = ("error opening service manager on corvel service: 0x424 - Service does not exist.\n"
              "Please restart the corvel-tracker service manually so that the changes can go into effect.\n")


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

    def test_a_bad_value_or_key_is_named_and_nothing_written(self):
        self.put_file(b"{}")
        for pair, message in {
                ("tenant_id", NIL): "Error: tenant_id must be a valid UUID and not nil\n",
                ("log_level", "é"): "Error parsing value for log_level: [json.exception.parse_error.101] parse error at "
                "line 1, column 1: syntax error while parsing value - invalid literal; last read: '\ufffd'\n",
                ("Tenant_id", 'a"€*'): 'Unknown key/value pairs: {"Tenant_id": "a\\"€*"}\n'}.items():
            self.corvelctl("set", *pair, status=1, err=message)
            self.assertEqual(CONFIG_FILE.read_bytes(), b"{}")

    def test_a_failed_restart_is_shown_but_no_failure_even_if_nothing_can_be_shown(self):
        self.corvelctl("set", "tenant_id", ID, status=0, out=NO_SERVICE)
        with open("/dev/full", "wb") as full:
            for arguments, status in (["set", "tenant_id", ID], 0), (["set", "x", "y"], 1), ([], 1):
                done = in_wine(CORVELCTL, *arguments, stdout=full, stderr=full)
                self.assertEqual(done.returncode, status, arguments)
        self.expect_file(tenant_id=ID)

    def test_a_terminal_shows_the_same_messages(self):
        done = subprocess.run(["script", "-qec", f"stty cols 400; {IN_WINE} {PREFIX} {CORVELCTL} set € x", "/dev/null"],
                              stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn('Unknown key/value pairs: {"€": "x"}', done.stdout)


if __name__ == "__main__":
    unittest.main()
