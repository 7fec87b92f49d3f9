#include "RecordingOptionsPrivate.h"

#include <uuid/uuid.h>

namespace Tervik {

RecordingOptionsPrivate::RecordingOptionsPrivate(RecordingOptions* q) : q_ptr(q) {}

RecordingOptionsPrivate::RecordingOptionsPrivate(RecordingOptions* q, const RecordingOptionsPrivate& other)
    : q_ptr(q), data_rate_limit(other.data_rate_limit), session_id(other.session_id),
      file_split_size(other.file_split_size), directory_split_size(other.directory_split_size),
      user_header(other.user_header) {}

RecordingOptionsPrivate::RecordingOptionsPrivate(RecordingOptions* q, RecordingOptionsPrivate&& other)
    : q_ptr(q), data_rate_limit(other.data_rate_limit), session_id(std::move(other.session_id)),
      file_split_size(other.file_split_size), directory_split_size(other.directory_split_size),
      user_header(std::move(other.user_header)) {}

std::string RecordingOptionsPrivate::fresh_session_id() {
    uuid_t uuid;
    uuid_generate(uuid);
    char text[37];
    uuid_unparse_lower(uuid, text);
    return text;
}

} // namespace Tervik
