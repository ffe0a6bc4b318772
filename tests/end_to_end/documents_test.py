"""Every console block of the documents, typed as it stands, shows what the block shows."""

import os
import re
import shutil

from wine_host import CORVELCTL, DRIVE_C, PREFIX, ROOT, HostTest, in_wine, run_script

BETWEEN = "@@@"


def pattern_of(shown):
    """The expression for a block's output: `...` stands for any lines, `<time>` for a time."""
    return "".join(r"(?:.*\n)*" if line == "..." else
                   re.escape(line).replace("<time>", r"\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d") + "\n" for line in shown)


class Documents(HostTest):
    def setUp(self):
        in_wine("taskkill", "/f", "/im", "corvel-tracker.exe")
        super().setUp()
        before = set(DRIVE_C.iterdir())
        self.addCleanup(lambda: [left.unlink() for left in set(DRIVE_C.iterdir()) - before if left.is_file()])
        for folder in "windows/Temp/corvel", "Program Files/corvel":
            shutil.rmtree(DRIVE_C / folder, ignore_errors=True)
        run_script("demo_host", PREFIX, os.environ["FIXTURE_SERVICE"], folder=ROOT)

    def wait_after(self, line, number):
        """A service that is deleted stays until its process and everybody's handles are gone."""
        if not line.startswith("sc delete"):
            return ""
        return f":wait{number}\r\nsc query corvel-tracker >nul\r\nif not errorlevel 1 goto wait{number}\r\n"

    def type_block(self, lines):
        """Types the block's lines into one command prompt in C: and returns what each shows."""
        script = DRIVE_C / "block.bat"
        script.write_text("@echo off\r\n" + "".join(
            f"{line}\r\necho.\r\necho {BETWEEN}\r\n{self.wait_after(line, number)}"
            for number, line in enumerate(lines)), newline="")
        done = in_wine("cmd", "/c", r"C:\block.bat 2>&1", cwd=DRIVE_C,
                       env={**os.environ, "WINEPATH": os.path.dirname(CORVELCTL)})
        return [shown.rstrip("\n") for shown in done.stdout.split(f"\n{BETWEEN}\n")[:-1]]

    def expect_what_is_shown(self, document):
        for block in re.findall(r"^```console\n(.*?)^```$", document.read_text(encoding="utf-8"), re.M | re.S):
            typed = [part.split("\n")[:-1] for part in re.split(r"^C:\\> ", block, flags=re.M)[1:]]
            outputs = self.type_block([line for line, *_ in typed])
            self.assertEqual(len(outputs), len(typed), outputs)
            for (line, *shown), output in zip(typed, outputs):
                self.assertRegex(output + "\n" * bool(output), f"^{pattern_of(shown)}$", line)


for path in [ROOT / "README.md", *(ROOT / "docs").glob("*.md")]:
    if "\n```console\n" in path.read_text(encoding="utf-8"):
        setattr(Documents, f"test_{path.stem.replace('-', '_')}",
                lambda self, path=path: self.expect_what_is_shown(path))
