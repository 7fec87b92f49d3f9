// Recording, reading and playback: data types, options, the recorder with its Python callbacks, the reader
// and the player.

// ---- data types: the values are module constants DataType_..., and the class DataType names them too ------
%rename("DataType_%s", %$isenumitem, match$parentNode$name="DataType") "";
%ignore Tervik::data_type_to_string;
%ignore Tervik::default_basename_for_data_type;
%ignore Tervik::file_extension_for_data_type;
%ignore Tervik::subscription_name_for_data_type;
%ignore Tervik::radar_settings_subscription_name;
%ignore Tervik::is_single_data_type;
%ignore Tervik::is_valid_data_types;
%ignore Tervik::is_text_data_type;
%ignore Tervik::data_types_in_mask;
// The values are unsigned 32-bit: AllDataTypes is 0xFFFFFFFF, not -1.
%apply unsigned int { Tervik::DataType };
%include "DataTypes.h"

%pythoncode %{
class DataType(object):
    """The kinds of data a recording holds, one bit each; a set of kinds is the OR of their bits."""
    BasebandApDataType = DataType_BasebandApDataType
    BasebandIqDataType = DataType_BasebandIqDataType
    SleepDataType = DataType_SleepDataType
    RespirationDataType = DataType_RespirationDataType
    PerformanceStatusType = DataType_PerformanceStatusType
    StringDataType = DataType_StringDataType
    PulseDopplerFloatDataType = DataType_PulseDopplerFloatDataType
    PulseDopplerByteDataType = DataType_PulseDopplerByteDataType
    NoiseMapFloatDataType = DataType_NoiseMapFloatDataType
    NoiseMapByteDataType = DataType_NoiseMapByteDataType
    FloatDataType = DataType_FloatDataType
    ByteDataType = DataType_ByteDataType
    PresenceSingleDataType = DataType_PresenceSingleDataType
    PresenceMovingListDataType = DataType_PresenceMovingListDataType
    RespirationDetectionListDataType = DataType_RespirationDetectionListDataType
    RespirationMovingListDataType = DataType_RespirationMovingListDataType
%}

// ---- options ------------------------------------------------------------------------------------------------
// The move operations have no meaning in Python; copies are made with the copy constructor.
%ignore Tervik::PreferredSplitSize::PreferredSplitSize(PreferredSplitSize&&);
%ignore Tervik::PreferredSplitSize::operator=;
%ignore Tervik::RecordingOptions::RecordingOptions(RecordingOptions&&);
%ignore Tervik::RecordingOptions::operator=;
%include "PreferredSplitSize.h"
%pythoncode %{
PreferredSplitSize_DurationType = PreferredSplitSize.DurationType
PreferredSplitSize_ByteCountType = PreferredSplitSize.ByteCountType
PreferredSplitSize_FixedDailyHour = PreferredSplitSize.FixedDailyHour
PreferredSplitSize_InvalidType = PreferredSplitSize.InvalidType
%}
%include "RecordingOptions.h"

// ---- records read back --------------------------------------------------------------------------------------
%include "DataRecord.h"
%extend Tervik::DataRecord {
    /// A copy of the record's bytes.
    Bytes get_copy() const { return $self->data; }
}

// ---- the recorder ------------------------------------------------------------------------------------------
%{
// Holds a Python callable for a recorder notification, which arrives on the recorder's thread. Every touch of
// the callable's reference count takes the interpreter lock: std::function copies and destroys its target on
// whatever thread it is on, with or without the lock.
class PyFileAvailableCallback {
public:
    explicit PyFileAvailableCallback(PyObject* func) : func(func) {
        PyGILState_STATE state = PyGILState_Ensure();
        assert(PyCallable_Check(this->func));
        Py_XINCREF(this->func);
        PyGILState_Release(state);
    }
    PyFileAvailableCallback(const PyFileAvailableCallback& other) : func(other.func) {
        PyGILState_STATE state = PyGILState_Ensure();
        Py_XINCREF(func);
        PyGILState_Release(state);
    }
    PyFileAvailableCallback& operator=(const PyFileAvailableCallback&) = delete;
    ~PyFileAvailableCallback() {
        // A recorder that outlives the interpreter (destroyed by a static destructor) has nobody to tell.
        if (!Py_IsInitialized())
            return;
        PyGILState_STATE state = PyGILState_Ensure();
        Py_XDECREF(func);
        PyGILState_Release(state);
    }

    void operator()(Tervik::DataType type, const std::string& filename) const {
        call("Is", static_cast<unsigned int>(type), filename.c_str());
    }
    void operator()(const std::string& session_id, const std::string& meta_filename) const {
        call("ss", session_id.c_str(), meta_filename.c_str());
    }

private:
    // A callable that raises doesn't stop the recording: its exception is printed the way the interpreter
    // prints one it can't hand to anybody, and the recorder goes on.
    template <typename... Arguments> void call(const char* format, Arguments... arguments) const {
        if (func == nullptr || func == Py_None)
            return;
        PyGILState_STATE state = PyGILState_Ensure();
        if (PyCallable_Check(func)) {
            PyObject* argument_tuple = Py_BuildValue(format, arguments...);
            PyObject* result = argument_tuple ? PyObject_Call(func, argument_tuple, nullptr) : nullptr;
            if (result == nullptr)
                PyErr_WriteUnraisable(func);
            Py_XDECREF(argument_tuple);
            Py_XDECREF(result);
        }
        PyGILState_Release(state);
    }

    PyObject* func;
};
%}

%extend Tervik::PyDataRecorder {
    /// Calls `callback(data_type, filename)` on the recorder's thread with the final name of each data file of
    /// the types in data_type as it is closed. An exception the callable raises is printed and ignored.
    int subscribe_to_file_available(uint32_t data_type, PyObject* callback) {
        return $self->subscribe_to_file_available(data_type, PyFileAvailableCallback(callback));
    }
    /// Calls `callback(session_id, meta_filename)` on the recorder's thread with the name of each meta file
    /// once it is complete. An exception the callable raises is printed and ignored.
    int subscribe_to_meta_file_available(PyObject* callback) {
        return $self->subscribe_to_meta_file_available(PyFileAvailableCallback(callback));
    }
}
%include "PyDataRecorder.h"

// ---- reading and playing back -------------------------------------------------------------------------------
%include "PyDataReader.h"
%include "PyDataPlayer.h"
