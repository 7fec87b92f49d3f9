#ifndef DEVICEBRIDGE_PREFERREDSPLITSIZEPRIVATE_H
#define DEVICEBRIDGE_PREFERREDSPLITSIZEPRIVATE_H

#include "PreferredSplitSize.h"

namespace Tervik {

class PreferredSplitSizePrivate {
public:
    PreferredSplitSizePrivate(PreferredSplitSize* q, const PreferredSplitSizePrivate* other = nullptr);

    void reset();
    void set_duration(int seconds);
    void set_byte_count(int64_t count);
    void set_fixed_daily_hour(int hour);

    PreferredSplitSize* q_ptr;
    int duration = -1;
    int fixed_daily_hour = -1;
    int64_t byte_count = -1;
    PreferredSplitSize::SizeType type = PreferredSplitSize::InvalidType;
};

} // namespace Tervik

#endif
