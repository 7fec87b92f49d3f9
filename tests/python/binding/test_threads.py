"""The interpreter lock is let go during library calls, and the library's threads call into Python."""
import signal
import threading

import pytest

import pydevicebridge as db
from conftest import connect, needs_hand_outs
from emulator_process import DEADLINE

pytestmark = needs_hand_outs


@pytest.mark.parametrize("emulator", [["--stream", "baseband_iq", "--stream-on-signal", "--rate", "50"]],
                         indirect=True)
def test_python_threads_run_while_one_blocks_on_an_idle_stream(emulator):
    bridge = connect(emulator)
    presence = bridge.get_g7n420()
    assert presence.peek_message_baseband_iq() == 0
    entering, frames = threading.Event(), []

    def read_one_frame():
        entering.set()
        frames.append(presence.read_message_baseband_iq())

    reader = threading.Thread(target=read_one_frame, name="baseband reader", daemon=True)
    reader.start()
    try:
        assert entering.wait(DEADLINE)
        # The reader holds the connection's lock while it waits; the RadarInterface itself answers without it.
        module, work = bridge.get_g5(), 0
        for _ in range(5):
            assert module.ping() == db.KMS_DEF_PONGVAL_READY
            work += sum(range(1000))
        assert work and reader.is_alive() and not frames
    finally:
        # The stream ends the wait, also when the test failed: the bridge can't be released while it lasts.
        emulator.signal(signal.SIGUSR1)
        reader.join(DEADLINE)
    assert not reader.is_alive() and frames[0].num_bins == len(frames[0].get_I()) == 100


def test_a_file_available_callback_runs_python_on_the_recorders_thread(emulator, scratch):
    bridge = connect(emulator)
    recorder = bridge.get_data_recorder()
    announced, seen = threading.Event(), []

    def file_available(data_type, filename):
        seen.append((data_type, filename, threading.current_thread() is threading.main_thread()))
        announced.set()

    assert recorder.subscribe_to_file_available(db.DataType_PresenceSingleDataType, file_available) == 0
    assert recorder.start_recording(db.DataType_PresenceSingleDataType, str(scratch)) == 0
    assert recorder.process(db.DataType_PresenceSingleDataType, b"one reading")
    recorder.stop_recording(db.DataType_PresenceSingleDataType)
    assert announced.wait(DEADLINE)
    data_type, filename, on_main_thread = seen[0]
    assert (data_type, on_main_thread) == (db.DataType_PresenceSingleDataType, False)
    assert filename.endswith(".csv")
