"""What the executable file itself must be like."""

import os
import pathlib
import re
import struct
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

    def test_needs_nothing_but_libraries_of_the_system(self):
        imported = set(re.findall(rb"\b[\w-]+\.dll\b", IMAGE, re.IGNORECASE))
        self.assertLessEqual({name.lower() for name in imported},
                             {b"advapi32.dll", b"kernel32.dll", b"msvcrt.dll", b"ole32.dll", b"rpcrt4.dll",
                              b"shell32.dll", b"ntdll.dll"})

    def test_holds_no_path_of_the_build_machine(self):
        for path in str(ROOT).encode(), b"/usr/", str(pathlib.Path.home()).encode() + b"/":
            self.assertNotIn(path, IMAGE)

    def test_has_its_manifest_and_version(self):
        for text in b"asInvoker", b"longPathAware", b"UTF-8</activeCodePage>":
            self.assertIn(text, IMAGE)
        version = re.search(r"project\(corvelctl VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
        self.assertIn("ProductVersion\0".encode("utf-16-le") + b"\0\0" * 0 + version.encode("utf-16-le"),
                      IMAGE.replace(b"\0\0\0\0", b"\0\0"))


if __name__ == "__main__":
    unittest.main()
