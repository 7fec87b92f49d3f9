"""The module as Python sees it without a module attached: names, conversions and the errors of the boundary."""
import pytest

import pydevicebridge as db
from pydevicebridge import devicebridgewrapper as wrapper


@pytest.mark.parametrize("name, value", [
    ("KMS_DEF_PONGVAL_READY", 0xAAEEAEEA),
    ("KMS_DEF_ENTER_BOOTLOADER_KEY", 0xC4D1371A),
    ("KMS_ID_APP_DECIM", 0x9BB3A2C6),
    ("KMS_ID_PRESENCE_SINGLE", 0x723BFA1E),
    ("KMS_SPC_PING", 0x01),
    ("KMS_FLAGSEQUENCE_START_NOESCAPE", 0x7C7C7C7C),
    ("ID_BASEBAND_AP", 13),
    ("COMMAND_TIMEOUT", 5),
    ("DataType_BasebandApDataType", 1),
    ("DataType_RespirationDetectionListDataType", 16384),
    ("DataType_RespirationMovingListDataType", 32768),
    ("PreferredSplitSize_DurationType", 0),
    ("PreferredSplitSize_InvalidType", 3),
])
def test_constants_are_unsigned_integers_under_their_exact_names(name, value):
    assert getattr(wrapper, name) == value
    assert getattr(db, name) == value


@pytest.mark.parametrize("name, value", [("InvalidDataType", 0), ("AllDataTypes", 0xFFFFFFFF)])
def test_the_data_type_variables_are_read_only(name, value):
    assert getattr(db.cvar, name) == value
    with pytest.raises(AttributeError, match=f"^Variable {name} is read-only.$"):
        setattr(db.cvar, name, 1)


def test_a_call_that_fits_no_overload_lists_every_prototype():
    with pytest.raises(NotImplementedError) as raised:
        db.PythonDeviceBridge()
    lines = str(raised.value).splitlines()
    assert lines[0] == "Wrong number or type of arguments for overloaded function 'new_PythonDeviceBridge'."
    prototypes = [line for line in lines if line.startswith("    Tervik::PythonDeviceBridge::PythonDeviceBridge(")]
    assert len(prototypes) == 4


HEADER_ARGUMENT = "in method 'RecordingOptions_set_user_header', argument 2 of type 'Bytes const &'"


@pytest.mark.parametrize("call, error, text", [
    (lambda: db.PyDataReader().set_filter(-1), OverflowError,
     "in method 'PyDataReader_set_filter', argument 2 of type 'uint32_t'"),
    (lambda: db.PyDataReader().set_filter("1"), TypeError,
     "in method 'PyDataReader_set_filter', argument 2 of type 'uint32_t'"),
    (lambda: db.ucVector(2)[5], IndexError, "index out of range"),
    (lambda: db.ucVector().pop(), IndexError, "pop from empty container"),
    (lambda: db.RecordingOptions().set_user_header([1, "x"]), TypeError, HEADER_ARGUMENT),
    (lambda: db.RecordingOptions().set_user_header(5), TypeError, HEADER_ARGUMENT),
    (lambda: db.RecordingOptions().set_user_header([256]), TypeError, HEADER_ARGUMENT),
    (lambda: db.PyDataPlayer("no_such_meta_file.dat"), RuntimeError, "failed to open recording"),
])
def test_argument_and_library_failures_raise_the_generators_errors(call, error, text):
    with pytest.raises(error, match=text.replace("(", r"\(").replace(")", r"\)")):
        call()


def test_vectors_have_the_sequence_protocol():
    assert list(db.ucVector(3)) == [0, 0, 0]
    values = db.FloatVector(4, 1.5)
    values[1:3] = [2.0, 3.0]
    assert tuple(values) == (1.5, 2.0, 3.0, 1.5)
    del values[0]
    values.append(7.0)
    assert (len(values), values.pop(), values.back(), bool(db.iVector())) == (4, 7.0, 1.5, False)
    with pytest.raises(ValueError, match="attempt to assign sequence of size 1 to extended slice of size 2"):
        values[::2] = [1.0]
    iterator = db.uiVector([5]).iterator()
    assert iterator.next() == 5
    with pytest.raises(StopIteration):
        iterator.next()
    nested = db.vVector([[1, 2], [3]])
    assert [tuple(element) for element in nested] == [(1, 2), (3,)]


def test_bytes_are_taken_from_any_sequence_and_given_back_as_tuples():
    options = db.RecordingOptions()
    for header in ([1, 2, 255], (1, 2, 255), db.ucVector([1, 2, 255]), bytearray([1, 2, 255])):
        options.set_user_header(header)
        assert options.get_user_header() == (1, 2, 255)
    copy = db.RecordingOptions(options)
    assert (copy.get_session_id(), copy.get_user_header()) == (options.get_session_id(), (1, 2, 255))
    assert db.RecordingOptions().get_session_id() != options.get_session_id()


@pytest.mark.parametrize("record, field, getter", [
    (db.BasebandIqData, "i_data", "get_I"),
    (db.BasebandIqData, "q_data", "get_Q"),
    (db.BasebandApData, "amplitude", "get_amplitude"),
    (db.BasebandApData, "phase", "get_phase"),
    (db.PresenceMovingListData, "movement_slow_items", "get_movement_slow_items"),
    (db.RespirationDetectionListData, "detection_velocity_items", "get_detection_velocity_items"),
    (db.PulseDopplerFloatData, "data", "get_data"),
    (db.PulseDopplerByteData, "data", "get_data"),
    (db.Files, "file_identifier_items", "get_file_identifier_items"),
    (db.DataRecord, "data", "get_copy"),
])
def test_array_fields_and_their_getters_give_tuples(record, field, getter):
    value = record()
    setattr(value, field, [1, 2, 3])
    assert getattr(value, field) == getattr(value, getter)() == (1, 2, 3)


def test_protocol_structures_have_every_field_and_fixed_arrays_as_tuples():
    settings = db.kmssRadarSettings_t()
    settings.frameLengths = [float(n) for n in range(15)]
    settings.modified = True
    assert settings.frameLengths[14] == 14.0 and len(settings.delayLengthFineTune) == 64 and settings.modified
    with pytest.raises(ValueError):
        settings.PGDelay = [0.0] * 15
    status = db.kmsUserPresenceStatus()
    status.presence, status.objectDistance = 1, 2.5
    assert (status.presence, status.objectDistance) == (1, 2.5)
    assert db.baseband_output_header_t().NumOfBins == 0


@pytest.mark.parametrize("family, value", [("uint32_t", 0xFFFFFFFF), ("uint8_t", 200), ("float", 0.5),
                                           ("string", "text")])
def test_pointer_helpers_hold_a_value(family, value):
    pointer = getattr(db, f"copy_{family}_ptr")(value)
    assert getattr(db, f"{family}_ptr_value")(pointer) == value
    empty = getattr(db, f"new_{family}_ptr")()
    getattr(db, f"{family}_ptr_assign")(empty, value)
    assert getattr(db, f"{family}_ptr_value")(empty) == value
    for each in (pointer, empty):
        getattr(db, f"delete_{family}_ptr")(each)


def test_a_bool_argument_takes_only_a_bool():
    with pytest.raises(NotImplementedError):
        db.Bootloader("/nonexistent/device", 1, 0, 0)


def test_docstrings_come_from_the_header_comments():
    assert "presence packet" in db.PyG7N420.read_message_presence_single.__doc__
    assert "whole, moving on" in db.PyDataReader.read_record.__doc__
    assert db.PyDataReader().read_record().is_valid is False
