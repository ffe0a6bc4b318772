"""The Wine prefix that the end-to-end tests use as their Windows machine."""

import os
import pathlib
import shutil
import subprocess
import termios
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CORVELCTL = os.environ["CORVELCTL"]
PREFIX = pathlib.Path(os.environ["WINE_HOST"])
DRIVE_C = PREFIX / "drive_c"
CONFIG_FOLDER = DRIVE_C / "ProgramData" / "corvel"
CONFIG_FILE = CONFIG_FOLDER / "corvel.json"
SERVICE_RECORD = DRIVE_C / "fixture_service.txt"


def in_wine(*command, timeout=120, **options):
    """Runs a Windows program and returns its completed process, output as text."""
    return subprocess.run([ROOT / "scripts" / "in_wine", PREFIX, *command], stdin=subprocess.DEVNULL,
                          capture_output=True, encoding="utf-8", timeout=timeout, check=False, **options)


def on_terminal(*command):
    """Runs a Windows program on a pseudo-terminal and returns its exit status and what the terminal showed."""
    terminal, program_side = os.openpty()
    termios.tcsetwinsize(program_side, (25, 400))
    with subprocess.Popen([ROOT / "scripts" / "in_wine", PREFIX, *command], stdin=program_side, stdout=program_side,
                          stderr=program_side, start_new_session=True, env={**os.environ, "TERM": "xterm"}) as program:
        os.close(program_side)
        shown = b""
        try:
            while data := os.read(terminal, 4096):
                shown += data
        except OSError:  # the program's side is closed
            pass
    os.close(terminal)
    return program.returncode, shown.decode("utf-8")


class HostTest(unittest.TestCase):
    """A test that starts without configuration and service."""

    def setUp(self):
        self.remove_service()
        shutil.rmtree(CONFIG_FOLDER, ignore_errors=True)
        SERVICE_RECORD.unlink(missing_ok=True)

    def remove_service(self):
        in_wine("taskkill", "/f", "/im", "fixture_service.exe")
        in_wine("sc", "delete", "corvel-tracker")
        self.wait_until(lambda: "STATE" not in in_wine("sc", "query", "corvel-tracker").stdout)

    def wait_until(self, condition):
        end = time.monotonic() + 30
        while not condition():
            self.assertLess(time.monotonic(), end, "the service's state does not change")
            time.sleep(0.1)

    def install_service(self, *options, start=True):
        """Installs the fixture service with the given options; starts it if asked to."""
        executable = DRIVE_C / "fixture_service.exe"
        shutil.copy(os.environ["FIXTURE_SERVICE"], executable)
        command = " ".join([r"C:\fixture_service.exe --record C:\fixture_service.txt", *options])
        created = in_wine("sc", "create", "corvel-tracker", "binpath=", command, "start=", "demand")
        self.assertEqual(created.returncode, 0, created)
        if start:
            in_wine("sc", "start", "corvel-tracker")
            self.wait_until(lambda: "RUNNING" in in_wine("sc", "query", "corvel-tracker").stdout)
            SERVICE_RECORD.unlink()

    def corvelctl(self, *arguments, status, out="", err="", environment=None):
        """Runs the tool and checks its exit status and both streams to the letter."""
        done = in_wine(CORVELCTL, *arguments, env={**os.environ, **(environment or {})})
        self.assertEqual((done.returncode, done.stdout, done.stderr), (status, out, err))
