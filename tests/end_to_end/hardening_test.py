"""What the executable file itself must be like, and that nobody gets in through what it loads."""

import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import unittest

from wine_host import BINARIES, CONFIG_FOLDER, CORVELCTL, ROOT, HostTest, in_wine

IMAGE = pathlib.Path(CORVELCTL).read_bytes()
SAMPLES = ROOT / "tests" / "fixtures" / "sample_authorities"

# The libraries that are linked in, that the system's own load for them, and that the linked ones call by name. Windows
# looks for these where the program stands unless it is told not to.
PLANTED = """bcrypt bcryptprimitives crypt32 cryptbase cryptsp dnsapi fastprox iphlpapi msasn1 mswsock ncrypt netapi32
             profapi propsys rsaenh secur32 sspicli userenv version wbemcomn wbemprox winhttp winnsi wintrust""".split()


def members_of_archive(path):
    """The names and contents of the objects in a static library."""
    data, place, long_names = path.read_bytes(), 8, b""
    while place < len(data):
        name, size = data[place:place + 16].rstrip(), int(data[place + 48:place + 58])
        content = data[place + 60:place + 60 + size]
        place += 60 + size + size % 2
        if name == b"//":
            long_names = content
        elif name != b"/":
            yield f"{path.name} {long_names[int(name[1:]):].split(b'/')[0] if name[:1] == b'/' else name}", content


class Executable(unittest.TestCase):
    def test_is_randomised_in_64_bits_not_executable_in_its_data_and_at_home_on_terminal_servers(self):
        header = struct.unpack_from("<I", IMAGE, 0x3C)[0] + 24
        self.assertEqual(struct.unpack_from("<H", IMAGE, header)[0], 0x20B)
        characteristics = struct.unpack_from("<H", IMAGE, header + 70)[0]
        for flag in 0x20, 0x40, 0x100, 0x8000:  # high entropy, dynamic base, NX, terminal-server aware
            self.assertTrue(characteristics & flag, hex(flag))
        self.assertGreater(struct.unpack_from("<I", IMAGE, header + 152)[0], 0, "no relocations")
        sections, header_size = struct.unpack_from("<H12xH", IMAGE, header - 18)
        for section in range(header + header_size, header + header_size + sections * 40, 40):
            both = struct.unpack_from("<I", IMAGE, section + 36)[0] & 0xA0000000
            self.assertNotEqual(both, 0xA0000000, IMAGE[section:section + 8])

    def test_has_the_stack_protector_in_every_object_that_is_compiled_in(self):
        archives = [path for path in BINARIES.parent.rglob("*.a")
                    if not re.search("gtest|gmock|_delayed|authorities|/tests/", str(path))]
        self.assertGreater(len(archives), 2)
        objects = [(path, path.read_bytes()) for path in BINARIES.parent.glob("CMakeFiles/corvelctl.dir/**/*.cpp.obj")]
        self.assertTrue(objects)
        for name, content in [*objects, *(member for path in archives for member in members_of_archive(path))]:
            # The compiler records its options with the debugging information.
            self.assertTrue(b"-fstack-protector-strong" in content and b"-fno-stack-protector" not in content, name)

    def test_imports_only_what_the_lowest_windows_has_from_libraries_that_it_knows(self):
        dump = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", CORVELCTL], capture_output=True, encoding="utf-8",
                              check=True).stdout
        imported = set()
        for library, table in re.findall(r"DLL Name: (\S+)\n(.*?)\n\n", dump, re.DOTALL):
            for name in re.findall(r"^\t[0-9a-f]+\s+\d+\s+(\S+)", table, re.M):
                imported.add((library.lower(), name))
        lines = pathlib.Path(__file__).with_name("imported_functions.txt").read_text().splitlines()
        listed = {(library, name): implementers for library, name, *implementers in map(str.split, lines)}
        self.assertIn(("kernel32.dll", "CreateFileW"), imported)
        self.assertEqual(sorted(imported - set(listed)), [])
        # Windows' advapi32 passes many functions on to other libraries, and looks for those beside the executable before
        # any code of ours runs. So of each one the list says where Windows has it, and that has to be a known library.
        for (library, name), implementers in listed.items():
            if library == "advapi32.dll":
                self.assertIn(implementers, (["advapi32"], ["kernelbase"], ["sechost"]), name)

    @unittest.skipIf("NAMES_ITS_SOURCES" in os.environ, "nobody ships a build with checks or for the debugger")
    def test_holds_no_path_of_the_build_machine(self):
        for path in str(ROOT).encode(), b"/usr/include", b"/usr/lib", b"/usr/src", b"/build/":
            self.assertFalse(path in IMAGE, path)

    def test_has_its_manifest_and_version(self):
        for text in b"asInvoker", b"longPathAware", b"UTF-8</activeCodePage>":
            self.assertTrue(text in IMAGE, text)
        version = re.search(r"project\(corvelctl VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
        key = "ProductVersion\0".encode("utf-16-le")
        value = IMAGE[IMAGE.index(key) + len(key):][:40].decode("utf-16-le").strip("\0")
        self.assertEqual(value.split("\0")[0], version)


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
                       "PLANTED_RECORD": f"Z:{record}"}
        for arguments in (["set", "skip_power_check", "true"], ["create_support_bundle"],
                          ["verify_release", SAMPLES / "release.json", SAMPLES / "developer.p7s"]):
            record.touch()
            done = in_wine(executable, *arguments, timeout=30, cwd=folder / "current", env=environment)
            self.assertEqual(record.read_text(), "")
            self.assertIn(done.returncode, (0, 1))
