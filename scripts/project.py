"""What the Python scripts share."""

import argparse
import json
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]


def parser(usage):
    """Returns a parser of command lines that shows the script's docstring."""
    return argparse.ArgumentParser(description=usage, formatter_class=argparse.RawDescriptionHelpFormatter)


def preset(name):
    """Takes an argument that names a preset, of which CMakeUserPresets.json may have more."""
    files = (ROOT / "CMakePresets.json", ROOT / "CMakeUserPresets.json")
    names = [build["configurePreset"] for file in files if file.exists()
             for build in json.loads(file.read_text(encoding="utf-8")).get("buildPresets", [])]
    if name == "windows" or name not in names:
        raise argparse.ArgumentTypeError(f"there is no preset '{name}' for this machine")
    return name


def say(text):
    print(f"{pathlib.Path(sys.argv[0]).name}: {text}", file=sys.stderr, flush=True)


def run(*command):
    """Runs a command with its output on standard error. If it fails, so does the script."""
    words = [str(word) for word in command]
    if subprocess.run(words, cwd=ROOT, stdout=sys.stderr, check=False).returncode != 0:
        say(f"failed: {' '.join(words)}")
        sys.exit(1)


def run_script(script, *arguments, folder):
    """Runs one of the shell scripts in a folder; it has to succeed."""
    command = [ROOT / "scripts" / script, *arguments]
    if os.name == "nt":
        # Git for Windows includes a shell, which would replace arguments such as "/CN=NAME" with paths.
        bash = pathlib.Path(os.environ["ProgramFiles"], "Git", "bin", "bash.exe")
        command = [bash, *(word.as_posix() if isinstance(word, pathlib.PurePath) else word for word in command)]
    subprocess.run(command, cwd=folder, check=True, env={**os.environ, "MSYS2_ARG_CONV_EXCL": "*"})
