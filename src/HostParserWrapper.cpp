#include "HostParserWrapper.h"

#include "PacketParserCallback.h"

#include <cassert>
#include <type_traits>

namespace {

template <typename> struct OperationTraits;
template <typename Argument> struct OperationTraits<void (PacketParserCallback::*)(Argument)> {
    using Record = std::decay_t<Argument>;
};

// Every entry has the same shape: the user data is the consumer, and the record goes to one of its
// operations.
template <auto operation>
void forward(typename OperationTraits<decltype(operation)>::Record value, void* user_data) {
    assert(user_data);
    if (user_data)
        (static_cast<PacketParserCallback*>(user_data)->*operation)(value);
}

constexpr auto pong_callback = forward<&PacketParserCallback::pong>;
constexpr auto error_callback = forward<&PacketParserCallback::error>;
constexpr auto ack_callback = forward<&PacketParserCallback::ack>;
constexpr auto respiration_callback = forward<&PacketParserCallback::respiration>;
constexpr auto sleep_callback = forward<&PacketParserCallback::sleep>;
constexpr auto baseband_ap_callback = forward<&PacketParserCallback::baseband_ap>;
constexpr auto baseband_iq_callback = forward<&PacketParserCallback::baseband_iq>;
constexpr auto presence_single = forward<&PacketParserCallback::presence_single>;
constexpr auto presence_movinglist = forward<&PacketParserCallback::presence_movinglist>;
constexpr auto pulsedoppler_float = forward<&PacketParserCallback::pulsedoppler_float>;
constexpr auto pulsedoppler_byte = forward<&PacketParserCallback::pulsedoppler_byte>;

} // namespace

HostParserWrapper::HostParserWrapper() : HostParser() {
    init_host_parser(this);
    pong = pong_callback;
    error = error_callback;
    ack = ack_callback;
    respiration = respiration_callback;
    sleep = sleep_callback;
    baseband_ap = baseband_ap_callback;
    baseband_iq = baseband_iq_callback;
    HostParser::presence_single = ::presence_single;
    HostParser::presence_movinglist = ::presence_movinglist;
    HostParser::pulsedoppler_float = ::pulsedoppler_float;
    HostParser::pulsedoppler_byte = ::pulsedoppler_byte;
}
