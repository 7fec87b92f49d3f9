// Copies the parser's records, which point into their packet, into the value records of namespace Tervik.
//
// The parser has checked that every array it hands out lies inside the packet; the arrays sit at odd offsets,
// so they are copied bytewise and never indexed as floats.
#ifndef DEVICEBRIDGE_RECORDCONVERTER_H
#define DEVICEBRIDGE_RECORDCONVERTER_H

#include "MessageRecords.h"
#include "protocol_host_parser.h"

namespace Tervik {

class RecordConverter {
public:
    static DataFloat convert(const ::FloatData_& parsed);
    static RespirationData convert(const ::RespirationData& parsed);
    static SleepData convert(const ::SleepData& parsed);
    static BasebandApData convert(const ::BasebandApData& parsed);
    static BasebandIqData convert(const ::BasebandIqData& parsed);
    static PresenceSingleData convert(const ::PresenceSingleData& parsed);
    static PresenceMovingListData convert(const ::PresenceMovingListData& parsed);
    static RespirationMovingListData convert(const ::RespirationMovingListData& parsed);
    static RespirationDetectionListData convert(const ::RespirationDetectionListData& parsed);
    static PulseDopplerFloatData convert(const ::PulseDopplerFloatData& parsed);
    static PulseDopplerByteData convert(const ::PulseDopplerByteData& parsed);
    static uint32_t convert(const ::SystemStatus& parsed);

    static FloatVector floats(const float* data, uint32_t count);
};

} // namespace Tervik

#endif
