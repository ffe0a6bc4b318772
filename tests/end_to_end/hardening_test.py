"""Nobody gets in through what the executable loads."""

import os
import pathlib
import shutil
import tempfile

from wine_host import BINARIES, CONFIG_FOLDER, CORVELCTL, HOST, ROOT, HostTest, in_wine

SAMPLES = ROOT / "tests" / "fixtures" / "sample_authorities"

# The libraries that are linked in, that the system's own load for them, and that the linked ones call by name. Windows
# looks for these where the program stands unless it is told not to.
PLANTED = """bcrypt bcryptprimitives crypt32 cryptbase cryptsp dnsapi fastprox iphlpapi msasn1 mswsock ncrypt netapi32
             profapi propsys rsaenh secur32 sspicli userenv version wbemcomn wbemprox winhttp winnsi wintrust""".split()


class Surroundings(HostTest):
    def test_no_library_beside_the_executable_or_in_the_current_folder_runs(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "current").mkdir()
        for place in folder, folder / "current":
            for name in PLANTED:
                shutil.copy(BINARIES / "planted.dll", place / f"{name}.dll")
        executable = shutil.copy(CORVELCTL, folder)
        record = folder / "record"
        CONFIG_FOLDER.mkdir()
        # Wine takes its own libraries before any others unless it is told otherwise.
        environment = {**os.environ, "WINEDLLOVERRIDES": f"{','.join(PLANTED)}=n,b", "SELF_UPDATE_PROFILE": '"test"',
                       "PLANTED_RECORD": HOST.windows_path(record)}
        for arguments in (["set", "skip_power_check", "true"], ["create_support_bundle"],
                          ["verify_release", SAMPLES / "release.json", SAMPLES / "developer.p7s"]):
            record.touch()
            done = in_wine(executable, *arguments, timeout=600, cwd=folder / "current", env=environment)
            self.assertEqual(record.read_text(), "")
            self.assertIn(done.returncode, (0, 1))
