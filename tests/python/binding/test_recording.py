"""Recording from Python, reading the recording back and playing it through a bridge."""
import glob
import sys
import threading

import pytest

import pydevicebridge as db
from conftest import connect, needs_hand_outs
from emulator_process import DEADLINE, eventually

pytestmark = needs_hand_outs

PRESENCE = db.DataType_PresenceSingleDataType


def record(emulator, directory, options, file_available=None, records=20):
    """Records the emulator's presence readings until `records` of them are stored; the finished meta file."""
    bridge = connect(emulator)
    recorder = bridge.get_data_recorder()
    meta_files, finished = [], threading.Event()
    recorder.subscribe_to_meta_file_available(lambda session, meta: (meta_files.append(meta), finished.set()))
    if file_available:
        recorder.subscribe_to_file_available(PRESENCE, file_available)
    assert recorder.start_recording(PRESENCE, str(directory), options) == 0
    assert recorder.is_recording(db.DataType_PresenceSingleDataType)
    presence = bridge.get_g7n420()
    # Readings queued before the start were not recorded: only those that come after it are counted. The
    # recorder subscribes on its own thread, so the first one or two of those may still be missing.
    while presence.peek_message_presence_single() > 0:
        presence.read_message_presence_single()
    stored = 0
    while stored < records:
        assert eventually(lambda: presence.peek_message_presence_single() > 0)
        presence.read_message_presence_single()
        stored += 1
    recorder.stop_recording(PRESENCE)
    assert finished.wait(DEADLINE)
    return meta_files[-1]


def read_all(meta):
    """Every record of the recording, in order."""
    reader = db.PyDataReader()
    assert reader.open(meta) == 0
    records = []
    while not reader.at_end():
        records.append(reader.read_record())
    return records


def readings_of(records):
    """The presence readings among the records: neither user headers nor the header line of a text file."""
    return [each for each in records if not each.is_user_header and not bytes(each.data).startswith(b"Time")]


def test_a_recording_with_options_reads_back_and_plays_through_a_bridge(emulator, scratch):
    options = db.RecordingOptions()
    options.set_session_id("python-session")
    split = db.PreferredSplitSize()
    split.set_byte_count(200)
    options.set_file_split_size(split)
    options.set_user_header(b"header")
    meta = record(emulator, scratch, options)
    assert len(glob.glob(str(scratch / "*" / "*.csv"))) > 1, "the data files split at 200 bytes"

    reader = db.PyDataReader()
    assert reader.open(meta) == 0
    assert (reader.get_session_id(), reader.get_data_types()) == ("python-session", PRESENCE)
    records = read_all(meta)
    headers = [each for each in records if each.is_user_header]
    readings = readings_of(records)
    assert headers and all(bytes(each.data) == b"header" for each in headers)
    assert len(readings) >= 15 and all(each.is_valid and each.data_type == PRESENCE for each in readings)

    player = db.PyDataPlayer(meta)
    player.set_playback_rate(-1.0)
    with pytest.raises(TypeError):
        player.set_loop_mode_enabled(1)
    playback = db.PythonDeviceBridge(player, 0)
    presence = playback.get_g7n420()
    player.play()
    assert eventually(lambda: presence.peek_message_presence_single() == len(readings))
    played = [presence.read_message_presence_single() for _ in readings]
    recorded = [int(bytes(each.data).split(b";")[1]) for each in readings]
    assert [each.frame_counter for each in played] == recorded
    player.stop()


def test_a_callable_that_raises_does_not_stop_the_recording(emulator, scratch, monkeypatch):
    calls, reported = [], []
    # The exception is handed to the interpreter's hook for exceptions that have nobody to go to.
    monkeypatch.setattr(sys, "unraisablehook", lambda unraisable: reported.append(unraisable.exc_value))

    def broken(data_type, filename):
        calls.append(filename)
        raise ValueError("a broken callback")

    options = db.RecordingOptions()
    split = db.PreferredSplitSize()
    split.set_byte_count(100)
    options.set_file_split_size(split)
    meta = record(emulator, scratch, options, file_available=broken, records=30)
    assert len(calls) > 1, "the recorder went on after the first exception"
    assert [str(each) for each in reported] == ["a broken callback"] * len(calls)
    reader = db.PyDataReader()
    assert reader.open(meta) == 0
    count = 0
    while reader.read_record().is_valid:
        count += 1
    assert count >= 25
