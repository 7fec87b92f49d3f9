// The identifiers are fixed by the module firmware: a changed value silently breaks the link, so a selection
// of each family is pinned here, together with the layout of the structures that travel in packets. Those
// that the frame and command tests already pin through bytes written out by hand are left to them.
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

struct Pinned {
    const char* name;
    unsigned long long value;
    unsigned long long expected;
};

Pinned pinned(const char* name, unsigned long long value, unsigned long long expected) {
    return {name, value, expected};
}

#define PIN(name, expected) pinned(#name, name, expected)
#define SIZE(type, size) pinned("sizeof " #type, sizeof(type), size)
#define AT(type, field, offset) pinned(#type "." #field, offsetof(type, field), offset)

void expect_pinned(const std::vector<Pinned>& pins) {
    for (const Pinned& pin : pins)
        EXPECT_EQ(pin.expected, pin.value) << pin.name;
}

TEST(ProtocolIdentifiers, ValuesOfEachFamily) {
    expect_pinned(
        {PIN(KMS_FLAGSEQUENCE_START_NOESCAPE, 0x7C7C7C7Cu), PIN(KMS_DEF_ENTER_BOOTLOADER_KEY, 0xC4D1371Au),
         PIN(KMS_DEF_ENTER_BOOTLOADER_KEY_2, 0xC4D1471Bu), PIN(KMS_DEF_PONGVAL_READY, 0xAAEEAEEAu),
         PIN(KMS_DEF_PONGVAL_NOTREADY, 0xAEEAEEAAu), PIN(KMS_DEF_PONGVAL_SAFEMODE, 0xFFEEFEEFu),
         PIN(KMS_SPCA_GET_PARAMETER_FILE, 0x15), PIN(KMS_SPCA_POLL, 0x20), PIN(KMS_SPCO_GETCONTROL, 0x11),
         PIN(KMS_SPA_VSDM_GET_STATUS, 0xA0), PIN(KMS_SPH_SEND_FLOAT, 0x20),
         PIN(KMS_SDC_SYSTEM_GET_DEBUG_DATA, 0x59), PIN(KMS_SDC_SYSTEM_LAST, 0x75)});
    // Where ranges overlap, or a last marker names the last entry, two names share a value.
    expect_pinned({PIN(KMS_SDC_APP_SETFLOAT, 0x70), PIN(KMS_SDC_APP_SETINT, 0x71),
                   PIN(KMS_SDC_RADAR_LAST, KMS_SDC_RADMSC_DOFRAMETOFLASH),
                   PIN(KMID_IOPIN_FEATURE_LAST, KMID_IOPIN_FEATURE_PRESENCE),
                   PIN(KMS_SSTC_TEST_LAST, KMS_SSTC_TEST_CERT_MODE_DIS), PIN(KMS_SSTC_TEST_LAST, 0x1B),
                   PIN(KMID_OUTPUT_CONTROL_PD_SLOW_ENABLE, KMID_OUTPUT_CONTROL_ENABLE)});
    expect_pinned({PIN(KMS_SPR_PONG, 0x01), PIN(KMS_SPRD_USER, 0x50), PIN(KMS_SPRE_COMMAND_FAILED, 0x21),
                   PIN(KMS_SPRE_USER, 0xA0), PIN(KMS_SPRS_READY, 0x11),
                   PIN(KMS_ID_APP_PRESENCE_2, 0x014D4AB8u), PIN(KMS_ID_APP_RESPIRATION_2, 0x064E57ADu),
                   PIN(KMS_ID_RESP_STATUS_EXT, 0x2375A16Bu), PIN(KMS_ID_PRESENCE_STATUS, 0x991A52BEu),
                   PIN(KMS_ID_APP_DECIM, 0x9BB3A2C6u), PIN(ID_BASEBAND_IQ, 0x0C), PIN(ID_BASEBAND_AP, 0x0D),
                   PIN(NUMBER_OF_MESSAGE_IDS, 15)});
    expect_pinned({PIN(KMS_SACR_ID_BASEBAND_OUTPUT_AMPLITUDE_PHASE, 0x02), PIN(KMS_BASEBAND_PHASE_ONLY, 0x04),
                   PIN(KMS_PULSEDOPPLER_AS_BYTE, 0x02), PIN(KMS_SACR_OUTPUT_PULSE_DOPPLER, 0x14),
                   PIN(KMS_SSCR_FRAMESTITCH, 0x1B), PIN(KMS_SM_NORMAL_DEFAULT, 0xFF),
                   PIN(KMS_SM_REG_CERT_RX_FAILURE_EMU, 0x07), PIN(KMS_SSIC_APPIDLIST, 0x05),
                   PIN(KMS_USER_CONTENTID_COMFIGMSG, 0x01), PIN(KMS_USER_CONTENTID_SYSTEM_STATUS, 0x05),
                   PIN(KMS_VAL_PRESENCE_PRESENCESTATE_UNKNOWN, 0x03), PIN(KMS_VAL_RESP_STATE_UNKNOWN, 0x06)});
    expect_pinned({PIN(KMID_SSIC_VERSIONLIST, 0x07), PIN(KMID_SM_STOP, 0x13), PIN(KMID_BAUDRATE_9600, 9600),
                   PIN(KMID_BAUDRATE_576000, 576000), PIN(KMID_BAUDRATE_4000000, 4000000),
                   PIN(KMID_IOPIN_SETUP_INVERTED, 0x04), PIN(KMID_OUTPUT_CONTROL_PD_FAST_ENABLE, 0x02),
                   PIN(KMID_NOISEMAP_CONTROL_INIT_ON_RESET, 0x04), PIN(KMID_LED_MODE_FULL, 0x02),
                   PIN(KMID_MCP_ERROR_NOT_RECOGNIZED, 0x01), PIN(CRC_ERROR, 1), PIN(OUT_OF_BUFFER, 4),
                   PIN(COMMAND_TIMEOUT, 5)});
}

TEST(ProtocolIdentifiers, StructureLayouts) {
    expect_pinned({SIZE(baseband_output_header_t, 28), AT(baseband_output_header_t, Counter, 4),
                   AT(baseband_output_header_t, NumOfBins, 8), AT(baseband_output_header_t, RangeOffset, 24),
                   SIZE(kmsUserVsdmStatus, 24), AT(kmsUserVsdmStatus, objectDistance, 12),
                   AT(kmsUserVsdmStatus, signalQuality, 20), SIZE(kmsUserPresenceStatus, 16),
                   AT(kmsUserPresenceStatus, detectionValue, 8), SIZE(kmsUserRadarPerformanceStatus_t, 92),
                   AT(kmsUserRadarPerformanceStatus_t, FPS, 28),
                   AT(kmsUserRadarPerformanceStatus_t, comTxBufHighWatermark, 80),
                   AT(kmsUserRadarPerformanceStatus_t, lastSystemTick, 88)});
    expect_pinned(
        {SIZE(kmssRadarSettings_t, 1072), AT(kmssRadarSettings_t, timingValueRaw, 8),
         AT(kmssRadarSettings_t, PRF, 16), AT(kmssRadarSettings_t, fineInMediumAverage, 56),
         AT(kmssRadarSettings_t, delayLengthCoarseTune, 60),
         AT(kmssRadarSettings_t, delayLengthMediumTune, 316),
         AT(kmssRadarSettings_t, delayLengthFineTune, 572),
         AT(kmssRadarSettings_t, stopWatchInitialized, 828), AT(kmssRadarSettings_t, frameLengths, 832),
         AT(kmssRadarSettings_t, PGDelay, 900), AT(kmssRadarSettings_t, chekcsum, 964),
         AT(kmssRadarSettings_t, modified, 968), AT(kmssRadarSettings_t, cfgPulsesPerStep, 972),
         AT(kmssRadarSettings_t, cfgSampleDelay, 1004), AT(kmssRadarSettings_t, cfgFrameStitch, 1016),
         AT(kmssRadarSettings_t, carrierFreqFromPG, 1020)});
}

} // namespace
