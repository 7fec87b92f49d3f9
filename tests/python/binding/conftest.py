"""Fixtures of the pydevicebridge tests: the module emulator as a child process, on a pseudo-terminal or TCP.

PYTHONPATH names the built package and the folder of emulator_process."""
import pytest

import pydevicebridge
from emulator_process import Emulator


# The facades and the recorder reach Python through the bridge's hand-outs (get_g7n420(), get_data_recorder(),
# ...); a library built without them can't run the tests that use them.
needs_hand_outs = pytest.mark.skipif(not hasattr(pydevicebridge.PythonDeviceBridge, "get_g7n420"),
                                     reason="this library's bridge hands out no facades")


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
