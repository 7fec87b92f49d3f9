#include "PreferredSplitSize.h"
#include "PreferredSplitSizePrivate.h"

namespace Tervik {

PreferredSplitSize::PreferredSplitSize() : d_ptr(new PreferredSplitSizePrivate(this)) {}

PreferredSplitSize::PreferredSplitSize(const PreferredSplitSize& other)
    : d_ptr(new PreferredSplitSizePrivate(this, other.d_ptr.get())) {}

// A moved-from object stays usable: it keeps an implementation of its own, copied from the state it had.
PreferredSplitSize::PreferredSplitSize(PreferredSplitSize&& other) : PreferredSplitSize(other) {}

PreferredSplitSize& PreferredSplitSize::operator=(const PreferredSplitSize& other) {
    if (this != &other) {
        d_ptr.reset(new PreferredSplitSizePrivate(this, other.d_ptr.get()));
    }
    return *this;
}

PreferredSplitSize& PreferredSplitSize::operator=(PreferredSplitSize&& other) {
    return *this = static_cast<const PreferredSplitSize&>(other);
}

PreferredSplitSize::~PreferredSplitSize() = default;

int PreferredSplitSize::get_duration() const {
    return d_ptr->duration;
}
int64_t PreferredSplitSize::get_byte_count() const {
    return d_ptr->byte_count;
}
int PreferredSplitSize::get_fixed_daily_hour() const {
    return d_ptr->fixed_daily_hour;
}
PreferredSplitSize::SizeType PreferredSplitSize::get_type() const {
    return d_ptr->type;
}

void PreferredSplitSize::set_duration(int seconds) {
    d_ptr->set_duration(seconds);
}
void PreferredSplitSize::set_byte_count(int64_t count) {
    d_ptr->set_byte_count(count);
}
void PreferredSplitSize::set_fixed_daily_hour(int hour) {
    d_ptr->set_fixed_daily_hour(hour);
}

} // namespace Tervik
