"""The machine that the end-to-end tests run on."""

import os
import pathlib
import unittest

from project import ROOT, run_script
from windows_host import IN_WINE, WineHost

CORVELCTL = os.environ["CORVELCTL"]
BINARIES = pathlib.Path(os.environ["TEST_BINARIES"])
HOST = WineHost(pathlib.Path(os.environ["WINE_HOST"]))
PREFIX, DRIVE_C, SERVICE_RECORD = HOST.prefix, HOST.drive_c, HOST.service_record
CONFIG_FOLDER, CONFIG_FILE = HOST.config_folder, HOST.config_file
in_wine = HOST.run


class HostTest(unittest.TestCase):
    """A test that starts without configuration and service."""

    def setUp(self):
        HOST.remove_agent()

    def install_service(self):
        HOST.install_service(os.environ["FIXTURE_SERVICE"])
