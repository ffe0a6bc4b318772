"""The Wine prefix that the end-to-end tests use as their Windows machine."""

import os
import pathlib
import shutil
import subprocess
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
IN_WINE = ROOT / "scripts" / "in_wine"
CORVELCTL = os.environ["CORVELCTL"]
BINARIES = pathlib.Path(os.environ["TEST_BINARIES"])
PREFIX = pathlib.Path(os.environ["WINE_HOST"])
DRIVE_C = PREFIX / "drive_c"
CONFIG_FOLDER = DRIVE_C / "ProgramData" / "corvel"
CONFIG_FILE = CONFIG_FOLDER / "corvel.json"
SERVICE_RECORD = DRIVE_C / "fixture_service.txt"


def in_wine(*command, timeout=120, **options):
    """Runs a Windows program and returns its completed process, output as text unless it is sent elsewhere."""
    options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
    return subprocess.run([IN_WINE, PREFIX, *command], encoding="utf-8", timeout=timeout, check=False, **options)


def run_script(script, *arguments, folder):
    """Runs one of the project's scripts in a folder; it has to succeed."""
    subprocess.run([ROOT / "scripts" / script, *arguments], cwd=folder, check=True)


class HostTest(unittest.TestCase):
    """A test that starts without configuration and service."""

    def setUp(self):
        self.remove_service()
        shutil.rmtree(CONFIG_FOLDER, ignore_errors=True)

    def remove_service(self):
        in_wine("taskkill", "/f", "/im", "fixture_service.exe")
        in_wine("sc", "delete", "corvel-tracker")
        self.wait_until(lambda: "STATE" not in in_wine("sc", "query", "corvel-tracker").stdout)

    def wait_until(self, condition):
        end = time.monotonic() + 30
        while not condition():
            self.assertLess(time.monotonic(), end, "the service's state does not change")
            time.sleep(0.1)

    def install_service(self):
        """Installs the fixture service and starts it; what it does from then on stands in SERVICE_RECORD."""
        shutil.copy(os.environ["FIXTURE_SERVICE"], DRIVE_C / "fixture_service.exe")
        command = r"C:\fixture_service.exe C:\fixture_service.txt"
        created = in_wine("sc", "create", "corvel-tracker", "binpath=", command, "start=", "demand")
        self.assertEqual(created.returncode, 0, created)
        in_wine("sc", "start", "corvel-tracker")
        self.wait_until(lambda: "RUNNING" in in_wine("sc", "query", "corvel-tracker").stdout)
        SERVICE_RECORD.unlink()
