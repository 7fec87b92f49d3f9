// When a recording starts a new file or a new directory: after a time, after a number of bytes, or every day
// at a fixed hour. One PreferredSplitSize describes one such wish; RecordingOptions holds one for data files
// and one for directories.
//
// Only the last setter called has effect: every setter first resets the whole object to "never split", so a
// rejected value leaves no split rather than the previous one. A bad value is not an error to the caller.
#ifndef DEVICEBRIDGE_PREFERREDSPLITSIZE_H
#define DEVICEBRIDGE_PREFERREDSPLITSIZE_H

#include <cstdint>
#include <memory>

namespace Tervik {

class PreferredSplitSizePrivate;

class PreferredSplitSize {
public:
    enum SizeType {
        DurationType = 0,   ///< split when the file has been open for get_duration() seconds
        ByteCountType = 1,  ///< split when the file holds get_byte_count() bytes or more
        FixedDailyHour = 2, ///< split each day when the local clock reaches get_fixed_daily_hour()
        InvalidType = 3     ///< never split; the default
    };

    // --- construction: a default object never splits
    // ---------------------------------------------------------
    PreferredSplitSize();
    PreferredSplitSize(const PreferredSplitSize& other);
    PreferredSplitSize(PreferredSplitSize&& other);
    PreferredSplitSize& operator=(const PreferredSplitSize& other);
    PreferredSplitSize& operator=(PreferredSplitSize&& other);
    ~PreferredSplitSize();

    // --- the state as it stands
    // --------------------------------------------------------------------------------
    int get_duration() const;         ///< seconds; -1 when not set (default)
    int64_t get_byte_count() const;   ///< bytes; -1 when not set (default)
    int get_fixed_daily_hour() const; ///< hour 0 to 23 of the local clock; -1 when not set (default)
    SizeType get_type() const;        ///< InvalidType by default

    // --- choosing the split

    /// A duration above 0 seconds selects DurationType; anything else leaves "never split".
    void set_duration(int seconds);
    /// A count of 1 byte or more selects ByteCountType; anything else leaves "never split".
    void set_byte_count(int64_t count);
    /// A negative hour leaves "never split" silently; an hour above 23 is clamped to 23 with a warning on
    /// standard output; then FixedDailyHour is selected.
    void set_fixed_daily_hour(int hour);

private:
    std::unique_ptr<PreferredSplitSizePrivate> d_ptr;
};

} // namespace Tervik

#endif
