// The Python binding's face of DataRecorder: one recorder on a module, every call forwarded unchanged.
// Failures reach Python as the exceptions of DataRecorder, which the binding turns into RuntimeError.
#ifndef DEVICEBRIDGE_PYDATARECORDER_H
#define DEVICEBRIDGE_PYDATARECORDER_H

#include "DataRecorder.h"

namespace Tervik {

class PyDataRecorder {
public:
    /// The guard must outlive the recorder.
    explicit PyDataRecorder(LockedRadarInterfacePtr& radar_interface);
    PyDataRecorder(const PyDataRecorder&) = delete;
    PyDataRecorder& operator=(const PyDataRecorder&) = delete;

    // --- recording
    /// Starts each type of the mask (DataType bits) into `directory`, which must exist; 1 if any type failed
    /// to start. Nothing is written before the first packet arrives.
    int start_recording(DataTypes data_types, const std::string& directory,
                        const RecordingOptions& options = RecordingOptions());
    /// Stops each type of the mask; packets queued before are still stored.
    void stop_recording(DataTypes data_types);
    /// True while the type is being recorded.
    bool is_recording(DataType data_type) const;
    /// Queues a copy of a packet of the type for storing; false when the type isn't recording.
    bool process(DataType data_type, const Bytes& data);

    // --- notifications, for native callers; the binding wraps Python callables into these
    int subscribe_to_file_available(DataTypes data_types,
                                    const DataRecorder::FileAvailableCallback& callback);
    /// Drops the file notification of each type of the mask.
    void unsubscribe_to_file_available(DataTypes data_types);
    int subscribe_to_meta_file_available(const DataRecorder::MetaFileAvailableCallback& callback);
    /// Drops the meta file notification.
    int unsubscribe_to_meta_file_available();

    // --- file names
    /// The part of the type's data file names before "_<date>_<time>.<extension>"; a change closes the
    /// type's current file.
    void set_basename_for_data_type(DataType data_type, const std::string& basename);
    /// The basename of the type's data files.
    std::string get_basename_for_data_type(DataType data_type) const;
    /// Back to the default basenames ("tervik_baseband_iq" and so on).
    void clear_basename_for_data_types(DataTypes data_types);

    /// "Baseband iq data" and so on; "<unknown data type>" for anything else.
    static std::string data_type_to_string(DataType data_type);

private:
    DataRecorder recorder;
};

} // namespace Tervik

#endif
