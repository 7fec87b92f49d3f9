// Recording what a module streams, or what a caller hands in, to disk.
//
// A recording is a session: a directory "tervik_recording_<date>_<time>_<session id>" below the directory
// given to start_recording, holding one series of data files per data type and one meta file
// ("tervik_recording_meta.dat") that indexes every record. DataReader reads it back.
//
// All file work runs on a thread of the recorder's own, named "recorder": the public operations only queue
// work and return. Nothing is created on disk before the first packet of a session arrives. A file carries
// its final name only once it is complete; a name ending in ".writing" marks a file that was never closed.
// A session started again under its id within the same second gets the directory name with "_<ms>ms" added.
//
// A crash of the process, even a kill, loses at most the packets handed to the recorder in the last 500 ms:
// while packets arrive, the recorder hands what it has written to the operating system at least that often,
// data files before the meta file entries that point into them. What the operating system holds in its own
// cache and has not yet written to the disk is outside this promise, and so is a power loss. A recording left
// by a crash is made readable by recover_recording (RecordingRecovery.h).
//
// Writes the disk refuses (full, or a file size limit) lose the records they hold, and say so in the log;
// files closed before stay readable, and recording goes on once the disk takes writes again. A session
// directory removed during a recording is made anew for the records that follow.
//
// Every int result is 0 for success and 1 otherwise, with the reason in the log. A mask that is neither in
// 0 to 65535 nor AllDataTypes is a programming error and throws std::runtime_error.
#ifndef DEVICEBRIDGE_DATARECORDER_H
#define DEVICEBRIDGE_DATARECORDER_H

#include "Bytes.h"
#include "DataTypes.h"
#include "LockedRadarInterfacePtr.h"
#include "RecordingOptions.h"

#include <functional>
#include <string>

class Logger;

namespace Tervik {

class DataRecorderPrivate;

class DataRecorder {
public:
    // Called on the recorder's thread with the final name of each data file as it is closed.
    typedef std::function<void(DataType, const std::string& filename)> FileAvailableCallback;
    // Called on the recorder's thread with the name of each meta file once it is complete: during a
    // recording that splits over directories, a meta file is announced when its successor is linked to it.
    typedef std::function<void(const std::string& session_id, const std::string& filename)>
        MetaFileAvailableCallback;

    // --- construction
    // Without a module, logging nowhere: data comes in by process() alone.
    DataRecorder();
    // Without a module, logging to `logger`, which must outlive the recorder.
    explicit DataRecorder(Logger& logger);
    // Records what the module streams, and logs to the module's logger. The guard must outlive the recorder.
    explicit DataRecorder(LockedRadarInterfacePtr& radar_interface);
    // Stops every recording and returns once all queued packets are stored and all files are complete.
    ~DataRecorder();
    DataRecorder(const DataRecorder&) = delete;
    DataRecorder& operator=(const DataRecorder&) = delete;

    // --- recording
    // Starts each type of the mask into `directory`, which must exist. Types started with options of one
    // session id share a session; a type that joins a running session ignores `directory` and the
    // directory split of its options. Doesn't switch on the module's data output. 1 if any type failed to
    // start (the others are started) or the mask is 0.
    int start_recording(DataTypes data_types, const std::string& directory,
                        const RecordingOptions& options = RecordingOptions());
    // Stops each type of the mask; packets queued before are still stored. Doesn't switch off the module's
    // data output.
    void stop_recording(DataTypes data_types);
    bool is_recording(DataType data_type) const;
    // Queues a copy of the packet for storing. False, and nothing queued, when the type isn't recording.
    bool process(DataType data_type, const Bytes& data);

    // --- notifications; each type and the meta file take at most one callback
    int subscribe_to_file_available(DataTypes data_types, const FileAvailableCallback& callback);
    void unsubscribe_to_file_available(DataTypes data_types);
    int subscribe_to_meta_file_available(const MetaFileAvailableCallback& callback);
    int unsubscribe_to_meta_file_available();

    // --- file names: the part before "_<date>_<time>.<extension>" of a type's data files
    // Changing the basename of a recording type closes its current file; the next packet opens one of the
    // new name.
    void set_basename_for_data_type(DataType data_type, const std::string& basename);
    std::string get_basename_for_data_type(DataType data_type) const;
    // Back to the defaults ("tervik_baseband_iq" and so on).
    void clear_basename_for_data_types(DataTypes data_types);

    static std::string data_type_to_string(DataType data_type);

private:
    friend class DataRecorderPrivate;
    DataRecorderPrivate* d_ptr;
};

} // namespace Tervik

#endif
