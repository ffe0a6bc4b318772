"""The machine that the end-to-end tests run on: a Wine prefix, or a Windows that is thrown away afterwards."""

import os
import pathlib
import unittest

from project import ROOT, run_script
from windows_host import IN_WINE, host_of_tests

CORVELCTL = os.environ["CORVELCTL"]
BINARIES = pathlib.Path(os.environ["TEST_BINARIES"])
HOST = host_of_tests()
PREFIX, DRIVE_C, SERVICE_RECORD = HOST.prefix, HOST.drive_c, HOST.service_record
CONFIG_FOLDER, CONFIG_FILE = HOST.config_folder, HOST.config_file
in_wine = HOST.run

only_wine = unittest.skipUnless(PREFIX, "needs what only Wine does, or its folders")
only_windows = unittest.skipIf(PREFIX, "needs what only Windows does")


class HostTest(unittest.TestCase):
    """A test that starts without configuration and service."""

    def setUp(self):
        HOST.remove_agent()

    def install_service(self):
        HOST.install_service(os.environ["FIXTURE_SERVICE"])
