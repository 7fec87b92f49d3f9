#include "PreferredSplitSizePrivate.h"

#include <iostream>

namespace Tervik {

PreferredSplitSizePrivate::PreferredSplitSizePrivate(PreferredSplitSize* q,
                                                     const PreferredSplitSizePrivate* other)
    : q_ptr(q) {
    if (other) {
        duration = other->duration;
        fixed_daily_hour = other->fixed_daily_hour;
        byte_count = other->byte_count;
        type = other->type;
    }
}

void PreferredSplitSizePrivate::reset() {
    duration = -1;
    fixed_daily_hour = -1;
    byte_count = -1;
    type = PreferredSplitSize::InvalidType;
}

void PreferredSplitSizePrivate::set_duration(int seconds) {
    reset();
    if (seconds > 0) {
        duration = seconds;
        type = PreferredSplitSize::DurationType;
    }
}

void PreferredSplitSizePrivate::set_byte_count(int64_t count) {
    reset();
    if (count >= 1) {
        byte_count = count;
        type = PreferredSplitSize::ByteCountType;
    }
}

void PreferredSplitSizePrivate::set_fixed_daily_hour(int hour) {
    reset();
    if (hour < 0) {
        return;
    }
    if (hour > 23) {
        // The number in this line is fixed text, not the value passed in.
        std::cout
            << "WARNING: set_fixed_daily_hour: invalid hour: 23: must be in range [0-23]; clamping value"
            << std::endl;
        hour = 23;
    }
    fixed_daily_hour = hour;
    type = PreferredSplitSize::FixedDailyHour;
}

} // namespace Tervik
