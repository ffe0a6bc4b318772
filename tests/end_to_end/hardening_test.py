"""What the executable file itself must be like."""

import os
import pathlib
import re
import struct
import subprocess
import unittest

IMAGE = pathlib.Path(os.environ["CORVELCTL"]).read_bytes()
ROOT = pathlib.Path(__file__).resolve().parents[2]


class Executable(unittest.TestCase):
    def test_is_randomised_in_64_bits_and_not_executable_in_its_data(self):
        header = struct.unpack_from("<I", IMAGE, 0x3C)[0] + 24
        self.assertEqual(struct.unpack_from("<H", IMAGE, header)[0], 0x20B)
        characteristics = struct.unpack_from("<H", IMAGE, header + 70)[0]
        for flag in 0x20, 0x40, 0x100:  # high entropy, dynamic base, NX
            self.assertTrue(characteristics & flag, hex(flag))
        self.assertGreater(struct.unpack_from("<I", IMAGE, header + 152)[0], 0, "no relocations")

    def test_loads_at_its_start_only_libraries_that_windows_takes_from_the_system_folder_alone(self):
        dump = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", os.environ["CORVELCTL"]], capture_output=True,
                              encoding="utf-8", check=True).stdout
        imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)\.dll", dump)}
        self.assertIn("kernel32", imported)
        self.assertLessEqual(imported, {"advapi32", "kernel32", "msvcrt", "ole32", "oleaut32", "rpcrt4", "shell32",
                                        "ws2_32"})

    def test_holds_no_path_of_the_build_machine(self):
        for path in str(ROOT).encode(), b"/usr/", str(pathlib.Path.home()).encode() + b"/":
            self.assertFalse(path in IMAGE, path)

    def test_has_its_manifest_and_version(self):
        for text in b"asInvoker", b"longPathAware", b"UTF-8</activeCodePage>":
            self.assertTrue(text in IMAGE, text)
        version = re.search(r"project\(corvelctl VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
        key = "ProductVersion\0".encode("utf-16-le")
        value = IMAGE[IMAGE.index(key) + len(key):][:40].decode("utf-16-le").strip("\0")
        self.assertEqual(value.split("\0")[0], version)


if __name__ == "__main__":
    unittest.main()
