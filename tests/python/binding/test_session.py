"""A user's session against the module emulator, over a pseudo-terminal and over TCP."""
import pytest

import pydevicebridge as db


def connect(emulator):
    if emulator.kind == "device":
        return db.PythonDeviceBridge(emulator.address, 0)
    address, port = emulator.endpoint()
    return db.PythonDeviceBridge(address, port, 0)


@pytest.mark.parametrize("emulator", [["--profile", "presence"], ["--tcp", "0", "--profile", "presence"]],
                         indirect=True, ids=["pty", "tcp"])
def test_a_bridge_pings_until_it_is_closed(emulator):
    bridge = connect(emulator)
    assert isinstance(bridge.git_sha(), str)
    assert bridge.get_g5().ping() == db.KMS_DEF_PONGVAL_READY
    bridge.close()
    assert bridge.get_g5().ping() != db.KMS_DEF_PONGVAL_READY


def test_a_bridge_without_a_device_opens_later_and_opens_again_after_close(emulator):
    bridge = db.PythonDeviceBridge(0)
    g5 = bridge.get_g5()
    with pytest.raises(RuntimeError):
        g5.ping()
    assert bridge.open(emulator.address) == 0
    assert g5.ping() == db.KMS_DEF_PONGVAL_READY
    bridge.close()
    bridge.open(emulator.address)
    assert g5.ping() == db.KMS_DEF_PONGVAL_READY
    del bridge
    assert g5.ping() == db.KMS_DEF_PONGVAL_READY, "a hand-out keeps its bridge alive"


def test_a_device_that_cannot_be_opened_raises_runtime_error():
    with pytest.raises(RuntimeError, match="unable to open file: /nonexistent/tty"):
        db.PythonDeviceBridge("/nonexistent/tty", 0)


@pytest.mark.parametrize("emulator", [["--bootloader", "--page-size", "64", "--flash-size", "256"]],
                         indirect=True)
def test_a_firmware_update_writes_every_page_and_starts_the_application(emulator):
    bootloader = db.Bootloader(emulator.address, False, False, 0)
    assert "page size 64" in bootloader.get_bootloader_info()
    image = bytes(range(256))
    for page in range(4):
        assert bootloader.write_page(page, image[page * 64:(page + 1) * 64]) == 0
    assert bootloader.write_page(0, [1, 2, 3]) == 1, "a page of the wrong size"
    assert bootloader.write_page(4, image[:64]) == 1, "beyond the flash"
    assert bootloader.start_application() == 0
    del bootloader
    assert connect(emulator).get_g5().ping() == db.KMS_DEF_PONGVAL_READY
