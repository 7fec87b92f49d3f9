"""Fixtures of the pydevicebridge tests: the module emulator as a child process, on a pseudo-terminal or TCP.

PYTHONPATH names the built package; MODULE_EMULATOR names the emulator program."""
import os
import signal
import socket
import struct
import subprocess
import time

import pytest

import pydevicebridge

EMULATOR = os.environ["MODULE_EMULATOR"]
DEADLINE = 10.0


# The facades and the recorder reach Python through the bridge's hand-outs (get_g7n420(), get_data_recorder(),
# ...); a library built without them can't run the tests that use them.
needs_hand_outs = pytest.mark.skipif(not hasattr(pydevicebridge.PythonDeviceBridge, "get_g7n420"),
                                     reason="this library's bridge hands out no facades")


def eventually(condition, deadline=DEADLINE):
    """Polls `condition` until it holds or the deadline passes; the last answer is the result."""
    end = time.monotonic() + deadline
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.02)
    return condition()


class Emulator:
    """module_emulator as a child process; `address` is what its first line names."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([EMULATOR, *arguments], stdout=subprocess.PIPE, text=True)
        self.kind, _, self.address = self.process.stdout.readline().strip().partition(": ")
        assert self.kind in ("device", "tcp"), self.kind

    def endpoint(self):
        """The TCP address and port in network byte order, as the bridge's constructors take them."""
        host, port = self.address.split(":")
        return struct.unpack("=I", socket.inet_aton(host))[0], socket.htons(int(port))

    def signal(self, number):
        self.process.send_signal(number)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=DEADLINE)


def connect(emulator, level=0):
    """A bridge to the emulator by the constructor that fits its link."""
    if emulator.kind == "device":
        return pydevicebridge.PythonDeviceBridge(emulator.address, level)
    address, port = emulator.endpoint()
    return pydevicebridge.PythonDeviceBridge(address, port, level)


@pytest.fixture
def emulator(request):
    """A presence module on a pseudo-terminal unless the test's parameter gives other arguments."""
    module = Emulator(*getattr(request, "param", ["--profile", "presence", "--rate", "20"]))
    yield module
    module.stop()


@pytest.fixture(autouse=True)
def scratch(tmp_path, monkeypatch):
    """Every test runs in a directory of its own, where the debug files of the default logger land."""
    monkeypatch.chdir(tmp_path)
    return tmp_path
