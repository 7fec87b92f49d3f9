#include "PyDataRecorder.h"

namespace Tervik {

PyDataRecorder::PyDataRecorder(LockedRadarInterfacePtr& radar_interface) : recorder(radar_interface) {}

int PyDataRecorder::start_recording(DataTypes data_types, const std::string& directory,
                                    const RecordingOptions& options) {
    return recorder.start_recording(data_types, directory, options);
}

void PyDataRecorder::stop_recording(DataTypes data_types) {
    recorder.stop_recording(data_types);
}

bool PyDataRecorder::is_recording(DataType data_type) const {
    return recorder.is_recording(data_type);
}

bool PyDataRecorder::process(DataType data_type, const Bytes& data) {
    return recorder.process(data_type, data);
}

int PyDataRecorder::subscribe_to_file_available(DataTypes data_types,
                                                const DataRecorder::FileAvailableCallback& callback) {
    return recorder.subscribe_to_file_available(data_types, callback);
}

void PyDataRecorder::unsubscribe_to_file_available(DataTypes data_types) {
    recorder.unsubscribe_to_file_available(data_types);
}

int PyDataRecorder::subscribe_to_meta_file_available(
    const DataRecorder::MetaFileAvailableCallback& callback) {
    return recorder.subscribe_to_meta_file_available(callback);
}

int PyDataRecorder::unsubscribe_to_meta_file_available() {
    return recorder.unsubscribe_to_meta_file_available();
}

void PyDataRecorder::set_basename_for_data_type(DataType data_type, const std::string& basename) {
    recorder.set_basename_for_data_type(data_type, basename);
}

std::string PyDataRecorder::get_basename_for_data_type(DataType data_type) const {
    return recorder.get_basename_for_data_type(data_type);
}

void PyDataRecorder::clear_basename_for_data_types(DataTypes data_types) {
    recorder.clear_basename_for_data_types(data_types);
}

std::string PyDataRecorder::data_type_to_string(DataType data_type) {
    return DataRecorder::data_type_to_string(data_type);
}

} // namespace Tervik
