"""What the install tests share: the build installed into a temporary prefix as a user installs it, a way of
running programs with their output shown on failure, and the installed module emulator as a child process.

The build under test and its tools come from the environment that ctest sets (tests/CMakeLists.txt)."""
import contextlib
import os
import pathlib
import subprocess
import tempfile
import time

import pytest

BUILD_DIR = pathlib.Path(os.environ["DEVICEBRIDGE_BUILD_DIR"])
SOURCE_DIR = pathlib.Path(os.environ["DEVICEBRIDGE_SOURCE_DIR"])
VERSION = os.environ["DEVICEBRIDGE_VERSION"]
CMAKE = os.environ["CMAKE_COMMAND"]
CMAKE_GENERATOR = os.environ["CMAKE_GENERATOR"]
CPACK = os.environ["CPACK_COMMAND"]
CC = os.environ["CC"]
CXX = os.environ["CXX"]
PYTHON = "/usr/bin/python3"
CONSUMER_DIR = pathlib.Path(__file__).parent / "consumer"

# Building a consumer on a busy machine takes its time; a program against the emulator takes seconds.
BUILD_SECONDS = 600
RUN_SECONDS = 60


def run_unchecked(command, **options):
    """Runs command to its end; its standard output and error together are the result's stdout."""
    options.setdefault("timeout", BUILD_SECONDS)
    return subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, **options)


def run(command, **options):
    """Runs command to its end and returns its output; a failure shows everything the program said."""
    result = run_unchecked(command, **options)
    if result.returncode != 0:
        pytest.fail("{} exited with {}:\n{}".format(" ".join(map(str, command)), result.returncode, result.stdout),
                    pytrace=False)
    return result.stdout


class Prefix:
    """An installed tree, with its folders as the build's install rules name them."""

    def __init__(self, root):
        self.root = pathlib.Path(root)
        self.lib = self.root / os.environ["DEVICEBRIDGE_LIBDIR"]
        self.bin = self.root / os.environ["DEVICEBRIDGE_BINDIR"]
        self.include = self.root / os.environ["DEVICEBRIDGE_INCLUDEDIR"] / "devicebridge"
        self.pkgconfig = self.lib / "pkgconfig"

    def python_packages(self):
        """The folders of the prefix that hold the pydevicebridge package."""
        return sorted({init.parent.parent for init in self.root.glob("**/pydevicebridge/__init__.py")})


@pytest.fixture(scope="session")
def prefix():
    """The build installed into a temporary prefix, then moved: whatever the installed files refer to must
    follow them, as it does when a user unpacks the tree elsewhere."""
    with tempfile.TemporaryDirectory(prefix="devicebridge_install_") as scratch:
        staged = pathlib.Path(scratch) / "staged"
        run([CMAKE, "--install", BUILD_DIR, "--prefix", staged])
        moved = pathlib.Path(scratch) / "moved"
        staged.rename(moved)
        yield Prefix(moved)


@pytest.fixture
def scratch():
    with tempfile.TemporaryDirectory(prefix="devicebridge_consumer_") as directory:
        yield pathlib.Path(directory)


@contextlib.contextmanager
def module_emulator(program, *arguments):
    """Runs the module emulator; yields the device it serves, from its first line "device: /dev/pts/N"."""
    with tempfile.TemporaryFile(mode="w+") as output:
        process = subprocess.Popen([str(program), *arguments], stdout=output, stderr=subprocess.STDOUT, text=True)
        try:
            yield wait_for_device(process, output)
        finally:
            process.terminate()
            process.wait(timeout=RUN_SECONDS)


def wait_for_device(process, output):
    deadline = time.monotonic() + RUN_SECONDS
    while time.monotonic() < deadline:
        output.seek(0)
        for line in output:
            if line.startswith("device: "):
                return line[len("device: "):].strip()
        if process.poll() is not None:
            break
        time.sleep(0.05)
    output.seek(0)
    pytest.fail("the module emulator named no device:\n" + output.read(), pytrace=False)


def run_against_emulator(prefix, command, working_directory, environment=None):
    """Runs command with the device of a fresh installed emulator as its last argument, in working_directory
    (the library's default logger writes its debug file there); returns what it printed."""
    with module_emulator(prefix.bin / "module_emulator") as device:
        return run([*command, device], cwd=working_directory, env=environment, timeout=RUN_SECONDS)
