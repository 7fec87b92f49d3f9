#ifndef DEVICEBRIDGE_RECORDINGOPTIONSPRIVATE_H
#define DEVICEBRIDGE_RECORDINGOPTIONSPRIVATE_H

#include "RecordingOptions.h"

namespace Tervik {

class RecordingOptionsPrivate {
public:
    explicit RecordingOptionsPrivate(RecordingOptions* q);
    RecordingOptionsPrivate(RecordingOptions* q, const RecordingOptionsPrivate& other);
    RecordingOptionsPrivate(RecordingOptions* q, RecordingOptionsPrivate&& other);

    // A new lower-case UUID in text form.
    static std::string fresh_session_id();

    RecordingOptions* q_ptr;
    int data_rate_limit = -1;
    std::string session_id;
    PreferredSplitSize file_split_size;
    PreferredSplitSize directory_split_size;
    Bytes user_header;
};

} // namespace Tervik

#endif
