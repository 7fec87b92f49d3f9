"""A user's session against the module emulator, over a pseudo-terminal and over TCP."""
import pytest

import pydevicebridge as db
from conftest import connect, needs_hand_outs
from emulator_process import eventually

PTY_AND_TCP = dict(argnames="emulator", argvalues=[[], ["--tcp", "0"]], indirect=True, ids=["pty", "tcp"])


@needs_hand_outs
@pytest.mark.parametrize(**PTY_AND_TCP)
def test_a_presence_session_as_a_user_writes_it(emulator):
    bridge = connect(emulator)
    presence = bridge.get_g7n420()
    assert presence.ping() == db.KMS_DEF_PONGVAL_READY
    assert bridge.git_sha()
    texts = {}
    for code in (db.KMID_SSIC_FIRMWAREID, db.KMID_SSIC_VERSION, db.KMID_SSIC_SERIALNUMBER):
        text = db.new_string_ptr()
        assert presence.get_system_info(code, text) == 0
        texts[code] = db.string_ptr_value(text)
        db.delete_string_ptr(text)
    assert all(texts.values()), texts
    presence.load_profile(db.KMS_ID_APP_PRESENCE_2)
    assert presence.get_profileid() == db.KMS_ID_APP_PRESENCE_2
    presence.set_sensor_mode(db.KMID_SM_RUN, 0)
    assert eventually(lambda: presence.peek_message_presence_single() >= 3)
    readings = [presence.read_message_presence_single() for _ in range(3)]
    counters = [reading.frame_counter for reading in readings]
    assert counters == sorted(set(counters))
    assert all(reading.presence_state <= db.KMS_VAL_PRESENCE_PRESENCESTATE_UNKNOWN for reading in readings)
    presence.set_sensor_mode(db.KMID_SM_STOP, 0)
    zone = presence.get_detection_zone()
    assert zone.start <= zone.end


@needs_hand_outs
def test_a_command_on_a_closed_bridge_raises_runtime_error_with_the_librarys_text(emulator):
    bridge = connect(emulator)
    bridge.close()
    with pytest.raises(RuntimeError, match="^get_detection_zone failed$"):
        bridge.get_g7n420().get_detection_zone()
    assert bridge.get_rcp().ping() == 1, "a ping that gets no pong reports 1, as on a native facade"


@needs_hand_outs
def test_packets_and_command_replies_come_as_tuples(emulator):
    bridge = connect(emulator)
    transport = bridge.get_transport()
    transport.subscribe("pongs", (db.KMS_SPR_PONG,))
    reply = transport.send_command_single([db.KMS_SPC_PING, 0xAE, 0xEA, 0xAA, 0xEE], [db.KMS_SPR_PONG])
    assert isinstance(reply, tuple) and reply[0] == db.KMS_SPR_PONG
    assert eventually(lambda: transport.get_number_of_packets("pongs") == 1)
    packet = transport.get_packet("pongs")
    assert isinstance(packet, tuple) and packet == reply
    assert bridge.get_g5n310().get_packet("no such queue") == ()


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
