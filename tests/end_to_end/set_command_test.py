"""The set command and the dispatcher, run by the real executable against real files and a real service."""

import json
import os
import subprocess

from wine_host import CONFIG_FILE, CONFIG_FOLDER, CORVELCTL, IN_WINE, PREFIX, SERVICE_RECORD, HostTest, in_wine, only_wine

ID = "6f9619ff-8b86-d011-b42d-00c04fc964ff"
NIL = "00000000-0000-0000-0000-000000000000"
DEFAULTS = {"host_id": NIL, "log_level": "info", "self_update": True,
            "self_update_addr": "https://download.corvel.example/release.json", "self_update_profile": "production",
            "skip_power_check": False, "tenant_id": NIL, "webapp_addr": "https://app.corvel.example"}


class SetCommand(HostTest):
    def expect(self, *arguments, status=1, err="Tenant ID must be configured to non-nil value to start agent.\n", written=None, **environment):
        """Runs the tool. The file is then as written: compact JSON, sorted, with all keys and without a line feed."""
        done = in_wine(CORVELCTL, *arguments, env={**os.environ, **environment})
        self.assertEqual((done.returncode, done.stdout, done.stderr), (status, "", err))
        if isinstance(written, dict):
            written = json.dumps({**DEFAULTS, **written}, sort_keys=True, separators=(",", ":"), ensure_ascii=False)
        found = {entry.name: entry.read_text(encoding="utf-8") for entry in CONFIG_FOLDER.glob("*")}
        self.assertEqual(found, {"corvel.json": written} if written else {})

    def test_a_running_service_is_restarted_with_the_new_configuration(self):
        self.install_service()
        self.expect("set", "tenant_id", ID.upper(), status=0, err="", written={"tenant_id": ID})
        self.assertEqual(SERVICE_RECORD.read_text().split("\n"), ["stop control", "stopped", "running", ""])

    def test_every_key_is_stored_as_it_was_typed(self):
        address = 'https://grüße.example/€ * ?\\"'
        self.expect("set", "webapp_addr", address, "host_id", f'"{ID}"', "log_level", '"debug,dll=warning"', "self_update_addr",
                    '"a\\u20acb"', "self_update_profile", '"test"', "self_update", "false", "skip_power_check", "true",
                    written={"webapp_addr": address, "host_id": ID, "log_level": "debug,dll=warning", "self_update_addr": "a€b",
                             "self_update_profile": "test", "self_update": False, "skip_power_check": True})

    def test_nothing_is_written_if_an_operand_or_the_file_is_bad(self):
        json_type = "[json.exception.type_error.302] type must be {}, but is {}".format
        json_text = "[json.exception.parse_error.101] parse error at line 1, column {}: syntax error while parsing value - invalid literal; last read: '{}'".format
        value = "Error parsing value for"
        for operands, err in ((["tenant_id"], "The set command must have an even number of arguments"),
                              (["a", "b", "tenant_id", "x"], "Error: tenant_id must be a valid UUID and not nil"),
                              (["tenant_id", NIL], "Error: tenant_id must be a valid UUID and not nil"),
                              (["self_update", "yes", "tenant_id", ID], f"{value} self_update: {json_type('boolean', 'string')}"),
                              (["webapp_addr", "123", "log_level", "debug", "self_update", "false"],
                               f"{value} webapp_addr: {json_type('string', 'number')}\n{value} log_level: {json_text(1, 'd')}"),
                              (["self_update_profile", "test"], f"{value} self_update_profile: {json_text(2, 'te')}"),
                              (["b", "€", "tenant_id", ID, "a", "c"], 'Unknown key/value pairs: {"a": "c", "b": "€"}')):
            self.expect("set", *operands, err=f"{err}\n")
        CONFIG_FOLDER.mkdir()
        CONFIG_FILE.write_text('{"self_update": "yes"}')
        self.expect("set", "tenant_id", ID, written='{"self_update": "yes"}', err="Fatal exception occurred loading config: FATAL "
                    f"ERROR: Config file is malformed: {json_type('boolean', 'string')}\n")

    @only_wine
    def test_operands_come_before_the_environment_and_that_before_the_file_even_one_that_is_open_elsewhere(self):
        CONFIG_FOLDER.mkdir()
        CONFIG_FILE.write_bytes(b'{"skip_power_check": true, "other": [], "self_update_addr": "file", "webapp_addr": "file"}\r\n')
        with CONFIG_FILE.open():
            self.expect("set", "webapp_addr", "*", "webapp_addr", "last",
                        WEBAPP_ADDR="variable", SELF_UPDATE_ADDR="gelände", HOST_ID="no UUID",
                        written={"skip_power_check": True, "self_update_addr": "gelände", "webapp_addr": "last"})

    @only_wine
    def test_a_terminal_shows_the_same_messages_and_only_critical_statements(self):
        line = f"stty cols 400; {IN_WINE} {PREFIX} {CORVELCTL} set € x"
        done = subprocess.run(["script", "-qec", line, "/dev/null"], stdin=subprocess.DEVNULL, capture_output=True,
                              encoding="utf-8", check=False, env={**os.environ, "SELF_UPDATE": "yes"})
        self.assertEqual(done.returncode, 1)
        self.assertIn('Unknown key/value pairs: {"€": "x"}', done.stdout)
        self.assertNotIn("LOG_", done.stdout)

    def test_other_words_show_the_usage(self):
        for words in ["Set"], ["help", "set"], ["verify_release"], ["verify_release", "a"], ["verify_release", *"abc"]:
            done = in_wine(CORVELCTL, *words)
            self.assertEqual((done.returncode, done.stdout[:25], done.stderr), (1, "Usage: corvelctl set <key", ""))
