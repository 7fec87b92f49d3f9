#include "RecordingOptions.h"
#include "RecordingOptionsPrivate.h"

namespace Tervik {

RecordingOptions::RecordingOptions() : d_ptr(new RecordingOptionsPrivate(this)) {
    d_ptr->session_id = RecordingOptionsPrivate::fresh_session_id();
}

RecordingOptions::RecordingOptions(const RecordingOptions& other)
    : d_ptr(new RecordingOptionsPrivate(this, *other.d_ptr)) {}

// The source keeps an implementation of its own, so a moved-from object stays usable.
RecordingOptions::RecordingOptions(RecordingOptions&& other)
    : d_ptr(new RecordingOptionsPrivate(this, std::move(*other.d_ptr))) {}

RecordingOptions& RecordingOptions::operator=(const RecordingOptions& other) {
    if (this != &other) {
        d_ptr.reset(new RecordingOptionsPrivate(this, *other.d_ptr));
    }
    return *this;
}

RecordingOptions& RecordingOptions::operator=(RecordingOptions&& other) {
    if (this != &other) {
        d_ptr.reset(new RecordingOptionsPrivate(this, std::move(*other.d_ptr)));
    }
    return *this;
}

RecordingOptions::~RecordingOptions() = default;

void RecordingOptions::set_session_id(const std::string& session_id) {
    d_ptr->session_id = session_id;
}
std::string RecordingOptions::get_session_id() const {
    return d_ptr->session_id;
}

void RecordingOptions::set_file_split_size(const PreferredSplitSize& split_size) {
    d_ptr->file_split_size = split_size;
}
PreferredSplitSize RecordingOptions::get_file_split_size() const {
    return d_ptr->file_split_size;
}

void RecordingOptions::set_directory_split_size(const PreferredSplitSize& split_size) {
    d_ptr->directory_split_size = split_size;
}
PreferredSplitSize RecordingOptions::get_directory_split_size() const {
    return d_ptr->directory_split_size;
}

void RecordingOptions::set_data_rate_limit(int milliseconds) {
    d_ptr->data_rate_limit = milliseconds;
}
int RecordingOptions::get_data_rate_limit() const {
    return d_ptr->data_rate_limit;
}

void RecordingOptions::set_user_header(const Bytes& user_header) {
    d_ptr->user_header = user_header;
}
Bytes RecordingOptions::get_user_header() const {
    return d_ptr->user_header;
}

} // namespace Tervik
