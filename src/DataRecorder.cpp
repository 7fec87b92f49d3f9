#include "DataRecorder.h"

#include "DataRecorderPrivate.h"
#include "Logger.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"
#include "VoidLogger.h"

namespace Tervik {

namespace {

// A guard without a target stands for no module.
LockedRadarInterfacePtr* module_of(LockedRadarInterfacePtr& radar_interface) {
    return radar_interface.get() ? &radar_interface : nullptr;
}

Logger& module_logger(LockedRadarInterfacePtr& radar_interface) {
    return radar_interface.get() ? radar_interface.get()->get_logger() : void_logger();
}

} // namespace

DataRecorder::DataRecorder() : d_ptr(new DataRecorderPrivate(this, nullptr, void_logger())) {}

DataRecorder::DataRecorder(Logger& logger) : d_ptr(new DataRecorderPrivate(this, nullptr, logger)) {}

DataRecorder::DataRecorder(LockedRadarInterfacePtr& radar_interface)
    : d_ptr(new DataRecorderPrivate(this, module_of(radar_interface), module_logger(radar_interface))) {}

DataRecorder::~DataRecorder() {
    delete d_ptr;
}

int DataRecorder::start_recording(DataTypes data_types, const std::string& directory,
                                  const RecordingOptions& options) {
    if (data_types == InvalidDataType) {
        d_ptr->log_error("cannot start recording: no data type given");
        return 1;
    }
    return d_ptr->for_each_data_type(data_types, "start_recording", [&](DataType data_type) {
        return d_ptr->start_recording(data_type, directory, options);
    });
}

void DataRecorder::stop_recording(DataTypes data_types) {
    d_ptr->for_each_data_type(data_types, "stop_recording", [this](DataType data_type) {
        d_ptr->stop_recording(data_type);
        return 0;
    });
}

bool DataRecorder::is_recording(DataType data_type) const {
    return d_ptr->is_recording(data_type);
}

bool DataRecorder::process(DataType data_type, const Bytes& data) {
    return d_ptr->process(data_type, data);
}

int DataRecorder::subscribe_to_file_available(DataTypes data_types, const FileAvailableCallback& callback) {
    if (!callback) {
        d_ptr->log_error("cannot subscribe to file available: invalid callback");
        return 1;
    }
    if (data_types == InvalidDataType) {
        d_ptr->log_error("cannot subscribe to file available: invalid data type");
        return 1;
    }
    return d_ptr->for_each_data_type(data_types, "subscribe_to_file_available", [&](DataType data_type) {
        return d_ptr->subscribe_to_file_available(data_type, callback);
    });
}

void DataRecorder::unsubscribe_to_file_available(DataTypes data_types) {
    d_ptr->for_each_data_type(data_types, "unsubscribe_to_file_available", [this](DataType data_type) {
        d_ptr->unsubscribe_to_file_available(data_type);
        return 0;
    });
}

int DataRecorder::subscribe_to_meta_file_available(const MetaFileAvailableCallback& callback) {
    return d_ptr->subscribe_to_meta_file_available(callback);
}

int DataRecorder::unsubscribe_to_meta_file_available() {
    return d_ptr->unsubscribe_to_meta_file_available();
}

void DataRecorder::set_basename_for_data_type(DataType data_type, const std::string& basename) {
    d_ptr->set_basename_for_data_type(data_type, basename);
}

std::string DataRecorder::get_basename_for_data_type(DataType data_type) const {
    return d_ptr->get_basename_for_data_type(data_type);
}

void DataRecorder::clear_basename_for_data_types(DataTypes data_types) {
    for (DataType data_type : data_types_in_mask(data_types))
        d_ptr->init_default_basename(data_type);
    if (!is_valid_data_types(data_types))
        d_ptr->programming_error("detected invalid data type", "init_default_basename");
}

std::string DataRecorder::data_type_to_string(DataType data_type) {
    return Tervik::data_type_to_string(data_type);
}

} // namespace Tervik
