"""The machine on which the tests, the benchmarks and scripts/endure run Windows programs."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

from project import ROOT

IN_WINE = ROOT / "scripts" / "in_wine"


class Host:
    """A machine with its own configuration of the agent and its own services. `start` starts a program on it."""

    def __init__(self, drive_c, program_data):
        self.drive_c = drive_c
        self.config_folder = program_data / "corvel"
        self.config_file = self.config_folder / "corvel.json"
        self.service_record = drive_c / "fixture_service.txt"

    def run(self, *command, timeout=120, **options):
        """Runs a program and returns the completed process, with its output as text unless that is sent elsewhere."""
        # No pipes: other processes of Wine may inherit them and keep them open.
        with tempfile.TemporaryFile("w+", encoding="utf-8") as out, tempfile.TemporaryFile("w+", encoding="utf-8") as err:
            with self.start(*command, **{"stdout": out, "stderr": err, **options}) as process:
                try:
                    process.wait(timeout)
                except subprocess.TimeoutExpired:
                    process.kill()
                    raise
            out.seek(0)
            err.seek(0)
            return subprocess.CompletedProcess(process.args, process.returncode, out.read(), err.read())

    def output(self, *command, **options):
        """Runs a program, which has to succeed, and returns its output."""
        done = self.run(*command, **options)
        done.check_returncode()
        return done.stdout

    def install_service(self, fixture_service):
        """Installs the agent's stand-in and starts it. It records in `service_record` what it does from then on."""
        shutil.copy(fixture_service, self.drive_c / "fixture_service.exe")
        self.output("sc", "create", "corvel-tracker", "binpath=", r"C:\fixture_service.exe C:\fixture_service.txt",
                    "start=", "demand")
        self.output("sc", "start", "corvel-tracker")
        self._wait_for_service(lambda state: "RUNNING" in state)
        self.service_record.unlink()

    def remove_service(self):
        self.run("taskkill", "/f", "/im", "fixture_service.exe")
        self.run("sc", "delete", "corvel-tracker")
        self._wait_for_service(lambda state: "STATE" not in state)

    def remove_agent(self):
        """Removes the service and the folder of the configuration."""
        self.remove_service()
        shutil.rmtree(self.config_folder, ignore_errors=True)

    def _wait_for_service(self, condition):
        end = time.monotonic() + 30
        while not condition(self.run("sc", "query", "corvel-tracker").stdout):
            if time.monotonic() > end:
                raise TimeoutError("the state of corvel-tracker does not change")
            time.sleep(0.1)


class WineHost(Host):
    """A Wine prefix as the machine."""

    roots = "HKCU"  # Wine restores the machine's store of root certificates.

    def __init__(self, prefix):
        super().__init__(prefix / "drive_c", prefix / "drive_c" / "ProgramData")
        self.prefix = prefix

    def start(self, *command, ready=False, env=None, **options):
        """Starts a program. Each argument that is a path gets its Windows name. With `ready`, the host is taken to be
        up, which `start_up` does: that leaves the bare program, for measuring times."""
        launcher = ["/usr/lib/wine/wine64"] if ready else [IN_WINE, self.prefix]
        environment = {**(env or os.environ), "WINEPREFIX": str(self.prefix), "WINEDEBUG": "-all", "LC_ALL": "C.UTF-8"}
        program, *arguments = command
        return subprocess.Popen([*launcher, program, *map(self.windows_path, arguments)],
                                **{"stdin": subprocess.DEVNULL, "env": environment, **options})

    @staticmethod
    def windows_path(argument):
        """Returns the Windows name of a path, and any other argument as it is."""
        if not isinstance(argument, pathlib.PurePath):
            return argument
        return ("Z:" if argument.is_absolute() else "") + str(argument).replace("/", "\\")

    def start_up(self):
        self.output("cmd", "/c", "exit")

    def seconds(self, *command, status=0, **options):
        """Returns how long a program, which has to end with that status, takes from start to exit. `start_up` has to
        have been called."""
        start = time.perf_counter()
        done = self.run(*command, ready=True, **options)
        taken = time.perf_counter() - start
        if done.returncode != status:
            raise subprocess.CalledProcessError(done.returncode, done.args, done.stdout, done.stderr)
        return taken

    def peak_megabytes(self, *command):
        """Runs a program, which has to succeed, and returns how much memory it held at most."""
        # What wait4() tells would include the memory of this process, from which the program's was forked.
        peak = 0
        with self.start(*command, stdout=subprocess.DEVNULL) as process:
            status = pathlib.Path(f"/proc/{process.pid}/status")
            while process.poll() is None:
                if high_water := re.search(r"VmHWM:\s+(\d+) kB", status.read_text(encoding="utf-8")):
                    peak = int(high_water[1])
                time.sleep(0.01)
        if process.returncode != 0:
            raise subprocess.CalledProcessError(process.returncode, process.args)
        return peak / 1024


class ThisMachine(Host):
    """The machine that this program runs on, a Windows that is thrown away afterwards."""

    prefix = None
    roots = "HKLM"  # Windows ignores what a program writes into the user's store of root certificates.

    def __init__(self):
        if os.environ.get("CORVEL_DISPOSABLE_MACHINE") != "1":
            sys.exit("This would replace the service corvel-tracker and the configuration in ProgramData of this "
                     "machine. Set CORVEL_DISPOSABLE_MACHINE=1 if nobody needs them.")
        super().__init__(pathlib.Path("C:/"), pathlib.Path("C:/ProgramData"))

    def start(self, *command, **options):
        """Starts a program."""
        return subprocess.Popen([self.windows_path(word) for word in command],
                                **{"stdin": subprocess.DEVNULL, **options})

    @staticmethod
    def windows_path(argument):
        """Returns the text of an argument, which may be a path."""
        return str(argument)


def host_of_tests():
    """Returns the Wine prefix that the variable WINE_HOST names or, if it is not set, this machine."""
    return WineHost(pathlib.Path(os.environ["WINE_HOST"])) if "WINE_HOST" in os.environ else ThisMachine()
