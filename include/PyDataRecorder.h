// The Python binding's face of DataRecorder: one recorder on a module, every call forwarded unchanged.
// Failures reach Python as the exceptions of DataRecorder, which the binding turns into RuntimeError.
#ifndef DEVICEBRIDGE_PYDATARECORDER_H
#define DEVICEBRIDGE_PYDATARECORDER_H

#include "DataRecorder.h"

namespace Tervik {

class PyDataRecorder {
public:
    // The guard must outlive the recorder.
    explicit PyDataRecorder(LockedRadarInterfacePtr& radar_interface);
    PyDataRecorder(const PyDataRecorder&) = delete;
    PyDataRecorder& operator=(const PyDataRecorder&) = delete;

    // --- recording
    int start_recording(DataTypes data_types, const std::string& directory,
                        const RecordingOptions& options = RecordingOptions());
    void stop_recording(DataTypes data_types);
    bool is_recording(DataType data_type) const;
    bool process(DataType data_type, const Bytes& data);

    // --- notifications, for native callers; the binding wraps Python callables into these
    int subscribe_to_file_available(DataTypes data_types,
                                    const DataRecorder::FileAvailableCallback& callback);
    void unsubscribe_to_file_available(DataTypes data_types);
    int subscribe_to_meta_file_available(const DataRecorder::MetaFileAvailableCallback& callback);
    int unsubscribe_to_meta_file_available();

    // --- file names
    void set_basename_for_data_type(DataType data_type, const std::string& basename);
    std::string get_basename_for_data_type(DataType data_type) const;
    void clear_basename_for_data_types(DataTypes data_types);

    static std::string data_type_to_string(DataType data_type);

private:
    DataRecorder recorder;
};

} // namespace Tervik

#endif
