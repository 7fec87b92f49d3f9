// The wishes of one recording, handed to DataRecorder::start_recording: which session the data belongs to,
// how often data may be written, when files and directories split, and the bytes every data file begins with.
#ifndef DEVICEBRIDGE_RECORDINGOPTIONS_H
#define DEVICEBRIDGE_RECORDINGOPTIONS_H

#include "Bytes.h"
#include "PreferredSplitSize.h"

#include <memory>
#include <string>

namespace Tervik {

class RecordingOptionsPrivate;

class RecordingOptions {
public:
    // --- construction: every default constructed object names a new session
    // -----------------------------------
    RecordingOptions();
    RecordingOptions(const RecordingOptions& other);
    RecordingOptions(RecordingOptions&& other);
    RecordingOptions& operator=(const RecordingOptions& other);
    RecordingOptions& operator=(RecordingOptions&& other);
    ~RecordingOptions();

    // --- the fields; getters return copies
    // ---------------------------------------------------------------------

    /// The session the recorded types belong to; types started with one session id share a session directory
    /// and meta file. Default: a fresh UUID in lower-case text form, different for every default constructed
    /// object.
    void set_session_id(const std::string& session_id);
    std::string get_session_id() const;

    /// When a data file is closed and the next one begun. Default: InvalidType, never split.
    void set_file_split_size(const PreferredSplitSize& split_size);
    PreferredSplitSize get_file_split_size() const;

    /// When the session moves on to a new sub-directory with a new meta file. Default: InvalidType, never
    /// split.
    void set_directory_split_size(const PreferredSplitSize& split_size);
    PreferredSplitSize get_directory_split_size() const;

    /// The least time between two records of one type, in milliseconds; packets arriving sooner are dropped.
    /// Default: -1, no limit (so is any value below 1).
    void set_data_rate_limit(int milliseconds);
    int get_data_rate_limit() const;

    /// Bytes written at the start of every data file, as an entry of their own. Default: empty, none.
    void set_user_header(const Bytes& user_header);
    Bytes get_user_header() const;

private:
    std::unique_ptr<RecordingOptionsPrivate> d_ptr;
};

} // namespace Tervik

#endif
