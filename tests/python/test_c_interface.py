"""The C interface as a numerical environment sees it: libdevicebridge.so loaded with ctypes, nothing but C
types crossing, and the module emulator as the module, over a pseudo-terminal and over TCP.

DEVICEBRIDGE_LIBRARY and MODULE_EMULATOR name the library and the emulator program."""
import ctypes as C
import glob
import os
import signal
import subprocess
import sys

import pytest

from emulator_process import Emulator, eventually

LIBRARY = os.environ["DEVICEBRIDGE_LIBRARY"]
READY = 0xAAEEAEEA
PRESENCE_SINGLE = 4096

u32, i32, i64, f32, u8 = C.c_uint32, C.c_int32, C.c_int64, C.c_float, C.c_uint8
P = C.POINTER


def load():
    lib = C.CDLL(LIBRARY)
    handle_returning = ["dba_create_device_bridge", "dba_create_device_bridge_tcpip",
                        "dba_create_device_bridge_playback", "dba_get_g5", "dba_get_data_recorder",
                        "dba_create_recording_options", "dba_create_recording_split_size",
                        "data_reader_create", "data_player_create"]
    for name in handle_returning:
        getattr(lib, name).restype = C.c_void_p
    signatures = {
        "dba_create_device_bridge": [C.c_char_p, C.c_uint],
        "dba_create_device_bridge_tcpip": [u32, C.c_uint16, C.c_char_p, C.c_uint],
        "dba_create_device_bridge_playback": [C.c_void_p, C.c_uint],
        "dba_get_g5": [C.c_void_p],
        "dba_get_data_recorder": [C.c_void_p],
        "data_player_create": [C.c_char_p, C.c_int],
        "set_byte_count": [C.c_void_p, i64],
        "data_reader_seek_ms": [C.c_void_p, i64],
        "data_reader_seek_byte": [C.c_void_p, i64],
        "data_player_set_position": [C.c_void_p, i64],
        "data_player_set_playback_rate": [C.c_void_p, f32],
    }
    for name, arguments in signatures.items():
        getattr(lib, name).argtypes = arguments
    for name in ["dba_destroy_device_bridge", "dba_destroy_G5_interface", "dba_destroy_data_recorder",
                 "dba_destroy_recording_options", "dba_destroy_recording_split_size", "data_reader_destroy",
                 "data_player_destroy"]:
        getattr(lib, name).argtypes = [C.c_void_p]
        getattr(lib, name).restype = None
    return lib


lib = load()


class Bridge:
    """A bridge and its G5 handle; destroyed in the order the interface asks for."""

    def __init__(self, emulator, transport="pty", level=0):
        if transport == "pty":
            self.bridge = lib.dba_create_device_bridge(emulator.address.encode(), level)
        else:
            self.bridge = lib.dba_create_device_bridge_tcpip(*emulator.endpoint(), None, level)
        assert self.bridge
        self.g5 = C.c_void_p(lib.dba_get_g5(self.bridge))

    def close(self):
        lib.dba_destroy_G5_interface(self.g5)
        lib.dba_destroy_device_bridge(self.bridge)


@pytest.fixture
def module(request):
    emulator = Emulator(*getattr(request, "param", ["--profile", "presence", "--rate", "20"]))
    yield emulator
    emulator.stop()


@pytest.fixture
def bridge(module):
    connection = Bridge(module)
    yield connection
    connection.close()


@pytest.fixture(autouse=True)
def scratch(tmp_path, monkeypatch):
    """Every test runs in a directory of its own, where a debug file may land."""
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.mark.parametrize("transport", ["pty", "tcp"])
def test_a_bridge_opens_answers_ping_and_closes(transport):
    emulator = Emulator("--tcp", "0") if transport == "tcp" else Emulator()
    try:
        connection = Bridge(emulator, transport)
        pong = C.c_uint(0)
        assert lib.dba_ping(connection.g5, C.byref(pong)) == 0
        assert pong.value == READY
        connection.close()
    finally:
        emulator.stop()


SYSTEM_TEXTS = ["dba_get_item_number", "dba_get_order_code", "dba_get_firmware_id", "dba_get_firmware_version",
                "dba_get_build_info", "dba_get_app_id_list", "dba_get_serial_number"]


@pytest.mark.parametrize("function", SYSTEM_TEXTS)
def test_a_system_text_fills_a_buffer_that_holds_it_and_leaves_a_shorter_one_untouched(bridge, function):
    buffer = C.create_string_buffer(256)
    assert getattr(lib, function)(bridge.g5, buffer, 255) == 0
    text = buffer.value
    assert text
    short = C.create_string_buffer(b"\xAA" * 256, 256)
    # The length test leaves the terminator out: exactly the text's length is enough, one less is not.
    assert getattr(lib, function)(bridge.g5, short, len(text) - 1) == 1
    assert short.raw == b"\xAA" * 256
    assert getattr(lib, function)(bridge.g5, short, len(text)) == 0
    assert short.raw[:len(text) + 1] == text + b"\0"


def test_presence_readings_come_into_the_callers_variables(bridge):
    assert eventually(lambda: lib.dba_peek_message_presence_single(bridge.g5) >= 2)
    counters = []
    for _ in range(2):
        fields = [u32(), u32(), f32(), u8(), u32()]
        assert lib.dba_read_message_presence_single(bridge.g5, *map(C.byref, fields)) == 0
        counters.append(fields[0].value)
    assert counters[1] > counters[0]


@pytest.mark.parametrize("module", [["--profile", "presence", "--bins", "37"]], indirect=True)
def test_a_baseband_frame_fills_exactly_num_bins_of_the_callers_arrays(bridge):
    assert lib.dba_enable_baseband_iq(bridge.g5) == 0
    assert eventually(lambda: lib.dba_peek_message_baseband_iq(bridge.g5) >= 1)
    scalars = [u32(), u32(), f32(), f32(), f32(), f32()]
    i_data, q_data = (f32 * 64)(*[-1.0] * 64), (f32 * 64)(*[-1.0] * 64)
    assert lib.dba_read_message_baseband_iq(bridge.g5, *map(C.byref, scalars), i_data, q_data) == 0
    assert scalars[1].value == 37
    assert all(value == -1.0 for value in list(i_data[37:]) + list(q_data[37:]))
    assert any(value != -1.0 for value in i_data[:37])


def test_a_named_subscription_refuses_a_too_small_buffer_and_fills_a_big_one(bridge):
    assert lib.dba_subscribe(bridge.g5, b"all", None, 0) == 0
    count = C.c_uint(0)
    assert eventually(lambda: lib.dba_get_number_of_packets(bridge.g5, b"all", C.byref(count)) == 0
                      and count.value >= 2)
    small = C.create_string_buffer(b"\x55" * 4, 4)
    assert lib.dba_get_packet(bridge.g5, b"all", small, 1) == 1
    assert small.raw == b"\x55" * 4
    big = C.create_string_buffer(b"\x55" * 4096, 4096)
    assert lib.dba_get_packet(bridge.g5, b"all", big, 4096) == 0
    assert big.raw != b"\x55" * 4096
    assert lib.dba_unsubscribe(bridge.g5, b"all") == 0


def test_a_module_file_is_written_listed_read_and_deleted(bridge):
    content = bytes(range(256)) * 10
    kind, identifier = 7, 3
    assert lib.dba_set_file(bridge.g5, kind, identifier, content, len(content)) == 0
    length = u32()
    assert lib.dba_get_file_length(bridge.g5, kind, identifier, C.byref(length)) == 0
    assert length.value == len(content)
    buffer, size = C.create_string_buffer(4096), C.c_uint(0)
    assert lib.dba_get_file(bridge.g5, kind, identifier, buffer, 4096, C.byref(size)) == 0
    assert buffer.raw[:size.value] == content
    chunk = C.create_string_buffer(16)
    assert lib.dba_get_file_data(bridge.g5, kind, identifier, 100, 16, chunk, 16) == 0
    assert chunk.raw == content[100:116]
    identifiers, count = (i32 * 8)(), C.c_uint(0)
    assert lib.dba_search_for_file_by_type(bridge.g5, kind, identifiers, 8, C.byref(count)) == 0
    assert list(identifiers[:count.value]) == [identifier]
    assert lib.dba_search_for_file_by_type(bridge.g5, kind, identifiers, 0, C.byref(count)) == 1
    assert lib.dba_delete_file(bridge.g5, kind, identifier) == 0
    assert lib.dba_search_for_file_by_type(bridge.g5, kind, identifiers, 8, C.byref(count)) == 0
    assert count.value == 0


SESSION = b"pytest-c-session"


def record(module, directory, records=6):
    """Records presence readings with options and a file split of one second; returns the meta file."""
    connection = Bridge(module)
    options, split = lib.dba_create_recording_options(), lib.dba_create_recording_split_size()
    assert lib.set_session_id(C.c_void_p(options), SESSION) == 0
    assert lib.set_duration(C.c_void_p(split), 1) == 0
    assert lib.set_file_split_size(C.c_void_p(options), C.c_void_p(split)) == 0
    lib.dba_destroy_recording_split_size(split)
    recorder = C.c_void_p(lib.dba_get_data_recorder(connection.bridge))
    assert lib.dba_start_recording(recorder, PRESENCE_SINGLE, str(directory).encode(), C.c_void_p(options)) == 0
    # The default queue sees the same stream as the recorder.
    assert eventually(lambda: lib.dba_peek_message_presence_single(connection.g5) >= records + 2)
    assert lib.dba_stop_recording(recorder, PRESENCE_SINGLE) == 0
    lib.dba_destroy_data_recorder(recorder)
    lib.dba_destroy_recording_options(options)
    connection.close()
    (meta,) = glob.glob(str(directory / ("*" + SESSION.decode()) / "tervik_recording_meta.dat"))
    return meta.encode()


def read_records(reader):
    records, data = [], C.create_string_buffer(512)
    count, kind, epoch, header = u32(), u32(), i64(), u8()
    while not lib.data_reader_at_end(reader):
        assert lib.data_reader_read_record(reader, data, 512, *map(C.byref, [count, kind, epoch, header])) == 0
        records.append((kind.value, epoch.value, data.raw[:count.value]))
    return records


def test_a_recording_made_through_the_c_functions_reads_back(module, scratch):
    meta = record(module, scratch)
    reader = C.c_void_p(lib.data_reader_create())
    assert lib.data_reader_is_open(reader) == 0
    assert lib.data_reader_open(reader, meta, -1) == 0
    assert lib.data_reader_is_open(reader) == 1

    # The session id: characters and their count, no terminator, and all or nothing.
    buffer, length = C.create_string_buffer(b"\x77" * 64, 64), C.c_uint(99)
    assert lib.data_reader_get_session_id(reader, buffer, C.byref(length), len(SESSION) - 1) == 1
    assert length.value == 0 and buffer.raw == b"\x77" * 64
    assert lib.data_reader_get_session_id(reader, buffer, C.byref(length), len(SESSION)) == 0
    assert buffer.raw[:length.value + 1] == SESSION + b"\x77"

    records = read_records(reader)
    assert len(records) >= 5
    assert {kind for kind, _, _ in records} == {PRESENCE_SINGLE}
    assert [epoch for _, epoch, _ in records] == sorted(epoch for _, epoch, _ in records)
    assert lib.data_reader_at_end(reader) == 1

    assert lib.data_reader_seek_ms(reader, 0) == 0
    assert read_records(reader) == records
    size = i64()
    assert lib.data_reader_get_size(reader, C.byref(size)) == 0
    assert lib.data_reader_seek_byte(reader, size.value) == 0
    assert lib.data_reader_at_end(reader) == 1
    lib.data_reader_destroy(reader)


def test_a_recording_plays_back_through_a_bridge(module, scratch):
    meta = record(module, scratch)
    assert lib.data_player_create(b"/nonexistent/meta.dat", -1) is None
    player = C.c_void_p(lib.data_player_create(meta, -1))
    assert player
    state, rate, duration, position = C.c_uint(9), f32(), i64(), i64()
    assert lib.data_player_get_state(player, C.byref(state)) == 0 and state.value == 0
    assert lib.data_player_set_state(player, 3) == 1
    assert lib.data_player_get_state(player, C.byref(state)) == 0 and state.value == 0
    assert lib.data_player_set_playback_rate(player, 4.0) == 0
    assert lib.data_player_get_playback_rate(player, C.byref(rate)) == 0 and rate.value == 4.0
    assert lib.data_player_get_duration(player, C.byref(duration)) == 0 and duration.value > 0
    assert lib.data_player_set_position(player, duration.value + 1) == 1
    assert lib.data_player_set_position(player, duration.value // 2) == 0
    assert lib.data_player_get_position(player, C.byref(position)) == 0
    assert position.value == duration.value // 2
    assert lib.data_player_set_position(player, 0) == 0

    playback = lib.dba_create_device_bridge_playback(player, 0)
    assert playback
    g5 = C.c_void_p(lib.dba_get_g5(playback))
    assert lib.data_player_set_state(player, 1) == 0
    assert eventually(lambda: lib.dba_peek_message_presence_single(g5) >= 3)
    lib.dba_destroy_G5_interface(g5)
    lib.dba_destroy_device_bridge(playback)
    lib.data_player_destroy(player)


def test_a_missing_device_gives_null_and_logs_into_the_debug_file_only(scratch, capfd):
    assert lib.dba_create_device_bridge(b"/dev/no_such_module", 1) is None
    (debug_file,) = glob.glob(str(scratch / "debug_*.log"))
    assert "__create_device_bridge" in open(debug_file).read()
    assert " - ERROR allocating radar" in open(debug_file).read()
    assert lib.dba_create_device_bridge(b"/dev/no_such_module", 0) is None
    assert glob.glob(str(scratch / "debug_*.log")) == [debug_file]
    assert capfd.readouterr() == ("", "")


def test_null_handles_are_refused_without_harm():
    lib.dba_destroy_device_bridge(None)
    assert lib.dba_create_device_bridge_playback(None, 0) is None
    assert lib.dba_ping(None, None) == 1
    assert lib.data_player_set_state(None, 1) == 1


def test_a_null_bridge_for_get_g5_aborts_on_its_assertion():
    program = ("import ctypes, os; lib = ctypes.CDLL(os.environ['DEVICEBRIDGE_LIBRARY']); "
               "lib.dba_get_g5.argtypes = [ctypes.c_void_p]; lib.dba_get_g5(None)")
    result = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert result.returncode == -signal.SIGABRT
    assert "Assertion `mc' failed" in result.stderr


@pytest.mark.parametrize("module", [["--silent"]], indirect=True)
def test_ping_on_a_silent_module_fails_and_the_process_lives_on(bridge):
    assert lib.dba_set_default_timeout(bridge.g5, 1) == 0
    pong = C.c_uint(0)
    assert lib.dba_ping(bridge.g5, C.byref(pong)) == 1
    assert pong.value == 0
