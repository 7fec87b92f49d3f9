// The identifiers are fixed by the module firmware: a changed value silently breaks the link, so a selection
// of each family is pinned here, together with the layout of the structures that travel in packets.
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

TEST(ProtocolIdentifiers, FramingAndProtocolWords) {
    EXPECT_EQ(0x7D, KMS_FLAG_START);
    EXPECT_EQ(0x7E, KMS_FLAG_END);
    EXPECT_EQ(0x7F, KMS_FLAG_ESC);
    EXPECT_EQ(0x7C7C7C7Cu, static_cast<uint32_t>(KMS_FLAGSEQUENCE_START_NOESCAPE));
    EXPECT_EQ(0xC4D1371Au, KMS_DEF_ENTER_BOOTLOADER_KEY);
    EXPECT_EQ(0xC4D1471Bu, KMS_DEF_ENTER_BOOTLOADER_KEY_2);
    EXPECT_EQ(0xEEAAEAAEu, KMS_DEF_PINGVAL);
    EXPECT_EQ(0xAAEEAEEAu, KMS_DEF_PONGVAL_READY);
    EXPECT_EQ(0xAEEAEEAAu, KMS_DEF_PONGVAL_NOTREADY);
    EXPECT_EQ(0xFFEEFEEFu, KMS_DEF_PONGVAL_SAFEMODE);
}

TEST(ProtocolIdentifiers, CommandFamilies) {
    EXPECT_EQ(0x01, KMS_SPC_PING);
    EXPECT_EQ(0x25, KMS_SPC_MOD_NOISEMAP);
    EXPECT_EQ(0x90, KMS_SPC_DIR_COMMAND);
    EXPECT_EQ(0xC0, KMS_SPC_BOOTLOADER);
    EXPECT_EQ(0x15, KMS_SPCA_GET_PARAMETER_FILE);
    EXPECT_EQ(0x20, KMS_SPCA_POLL);
    EXPECT_EQ(0x10, KMS_SPCB_WRITE_PAGE);
    EXPECT_EQ(0x21, KMS_SPCIOP_GETVALUE);
    EXPECT_EQ(0x11, KMS_SPCO_GETCONTROL);
    EXPECT_EQ(0x10, KMS_SPCN_SETCONTROL);
    EXPECT_EQ(0x20, KMS_SPCX_INIT);
    EXPECT_EQ(0x25, KMS_SPCXI_PRFDIV);
    EXPECT_EQ(0xA0, KMS_SPA_VSDM_GET_STATUS);
    EXPECT_EQ(0x20, KMS_SPH_SEND_FLOAT);
    EXPECT_EQ(0xB0, KMS_SPC_DEBUG_LEVEL);
}

TEST(ProtocolIdentifiers, DirectCommandsShareValuesWhereTheRangesOverlap) {
    EXPECT_EQ(0x59, KMS_SDC_SYSTEM_GET_DEBUG_DATA);
    EXPECT_EQ(0x74, KMS_SDC_GET_PROFILEID);
    EXPECT_EQ(0x80, KMS_SDC_COMM_SETBAUDRATE);
    EXPECT_EQ(0x70, KMS_SDC_APP_SETFLOAT);
    EXPECT_EQ(KMS_SDC_APP_SETFLOAT, KMS_SDC_DELETE_FILE);
    EXPECT_EQ(0x71, KMS_SDC_APP_SETINT);
    EXPECT_EQ(KMS_SDC_APP_SETINT, KMS_SDC_GET_FILE_DATA);
    EXPECT_EQ(KMS_SDC_RADAR_LAST, KMS_SDC_RADMSC_DOFRAMETOFLASH);
    EXPECT_EQ(0x75, KMS_SDC_SYSTEM_LAST);
}

TEST(ProtocolIdentifiers, LastMarkersIncludeTheLastEntry) {
    EXPECT_EQ(KMID_IOPIN_FEATURE_PRESENCE, KMID_IOPIN_FEATURE_LAST);
    EXPECT_EQ(KMS_SSTC_TEST_CERT_MODE_DIS, KMS_SSTC_TEST_LAST);
    EXPECT_EQ(0x1B, KMS_SSTC_TEST_LAST);
    EXPECT_EQ(KMID_OUTPUT_CONTROL_ENABLE, KMID_OUTPUT_CONTROL_PD_SLOW_ENABLE);
}

TEST(ProtocolIdentifiers, ReplyFamilies) {
    EXPECT_EQ(0x01, KMS_SPR_PONG);
    EXPECT_EQ(0x11, KMS_SPR_REPLY);
    EXPECT_EQ(0x51, DEPRECATED_KMS_SPR_APPDATA_FAST);
    EXPECT_EQ(0xA0, KMS_SPR_DATA);
    EXPECT_EQ(0x13, KMS_SPRD_STRING);
    EXPECT_EQ(0x50, KMS_SPRD_USER);
    EXPECT_EQ(0x21, KMS_SPRE_COMMAND_FAILED);
    EXPECT_EQ(0xA0, KMS_SPRE_USER);
    EXPECT_EQ(0x11, KMS_SPRS_READY);
}

TEST(ProtocolIdentifiers, ContentIdentifiers) {
    EXPECT_EQ(0x0Cu, KMS_ID_BASEBAND_IQ);
    EXPECT_EQ(0x0Du, KMS_ID_BASEBAND_AMPLITUDE_PHASE);
    EXPECT_EQ(0x014D4AB8u, KMS_ID_APP_PRESENCE_2);
    EXPECT_EQ(0x064E57ADu, KMS_ID_APP_RESPIRATION_2);
    EXPECT_EQ(0x2375A16Bu, KMS_ID_RESP_STATUS_EXT);
    EXPECT_EQ(0x2375A16Cu, KMS_ID_SLEEP_STATUS);
    EXPECT_EQ(0x610A3B00u, KMS_ID_RESPIRATION_MOVINGLIST);
    EXPECT_EQ(0x610A3B02u, KMS_ID_RESPIRATION_DETECTIONLIST);
    EXPECT_EQ(0x723BFA1Fu, KMS_ID_PRESENCE_MOVINGLIST);
    EXPECT_EQ(0x991A52BEu, KMS_ID_PRESENCE_STATUS);
    EXPECT_EQ(0x9BB3A2C6u, KMS_ID_APP_DECIM);
    EXPECT_EQ(static_cast<unsigned>(ID_BASEBAND_IQ), KMS_ID_BASEBAND_IQ);
    EXPECT_EQ(static_cast<unsigned>(ID_BASEBAND_AP), KMS_ID_BASEBAND_AMPLITUDE_PHASE);
    EXPECT_EQ(15, NUMBER_OF_MESSAGE_IDS);
}

TEST(ProtocolIdentifiers, ConfigurationAndModes) {
    EXPECT_EQ(0x02, KMS_SACR_ID_BASEBAND_OUTPUT_AMPLITUDE_PHASE);
    EXPECT_EQ(0x04, KMS_BASEBAND_PHASE_ONLY);
    EXPECT_EQ(0x02, KMS_PULSEDOPPLER_AS_BYTE);
    EXPECT_EQ(0x14, KMS_SACR_OUTPUT_PULSE_DOPPLER);
    EXPECT_EQ(0x1B, KMS_SSCR_FRAMESTITCH);
    EXPECT_EQ(0x50, KMS_SM_REG);
    EXPECT_EQ(0xFF, KMS_SM_NORMAL_DEFAULT);
    EXPECT_EQ(0x07, KMS_SM_REG_CERT_RX_FAILURE_EMU);
    EXPECT_EQ(0x05, KMS_SSIC_APPIDLIST);
    EXPECT_EQ(0x01, KMS_USER_CONTENTID_COMFIGMSG);
    EXPECT_EQ(0x05, KMS_USER_CONTENTID_SYSTEM_STATUS);
    EXPECT_EQ(0x03, KMS_VAL_PRESENCE_PRESENCESTATE_UNKNOWN);
    EXPECT_EQ(0x06, KMS_VAL_RESP_STATE_UNKNOWN);
}

TEST(ProtocolIdentifiers, UserLevelValues) {
    EXPECT_EQ(0x07, KMID_SSIC_VERSIONLIST);
    EXPECT_EQ(0x13, KMID_SM_STOP);
    EXPECT_EQ(9600, KMID_BAUDRATE_9600);
    EXPECT_EQ(576000, KMID_BAUDRATE_576000);
    EXPECT_EQ(4000000, KMID_BAUDRATE_4000000);
    EXPECT_EQ(0x04, KMID_IOPIN_SETUP_INVERTED);
    EXPECT_EQ(0x02, KMID_OUTPUT_CONTROL_PD_FAST_ENABLE);
    EXPECT_EQ(0x04, KMID_NOISEMAP_CONTROL_INIT_ON_RESET);
    EXPECT_EQ(0x02, KMID_LED_MODE_FULL);
    EXPECT_EQ(0x01, KMID_MCP_ERROR_NOT_RECOGNIZED);
    EXPECT_EQ(1, CRC_ERROR);
    EXPECT_EQ(4, OUT_OF_BUFFER);
    EXPECT_EQ(5, COMMAND_TIMEOUT);
}

TEST(ProtocolIdentifiers, SmallStructureLayouts) {
    EXPECT_EQ(28u, sizeof(baseband_output_header_t));
    EXPECT_EQ(4u, offsetof(baseband_output_header_t, Counter));
    EXPECT_EQ(8u, offsetof(baseband_output_header_t, NumOfBins));
    EXPECT_EQ(24u, offsetof(baseband_output_header_t, RangeOffset));
    EXPECT_EQ(24u, sizeof(kmsUserVsdmStatus));
    EXPECT_EQ(12u, offsetof(kmsUserVsdmStatus, objectDistance));
    EXPECT_EQ(20u, offsetof(kmsUserVsdmStatus, signalQuality));
    EXPECT_EQ(16u, sizeof(kmsUserPresenceStatus));
    EXPECT_EQ(8u, offsetof(kmsUserPresenceStatus, detectionValue));
    EXPECT_EQ(92u, sizeof(kmsUserRadarPerformanceStatus_t));
    EXPECT_EQ(28u, offsetof(kmsUserRadarPerformanceStatus_t, FPS));
    EXPECT_EQ(80u, offsetof(kmsUserRadarPerformanceStatus_t, comTxBufHighWatermark));
    EXPECT_EQ(88u, offsetof(kmsUserRadarPerformanceStatus_t, lastSystemTick));
}

TEST(ProtocolIdentifiers, RadarSettingsLayout) {
    EXPECT_EQ(1072u, sizeof(kmssRadarSettings_t));
    EXPECT_EQ(8u, offsetof(kmssRadarSettings_t, timingValueRaw));
    EXPECT_EQ(16u, offsetof(kmssRadarSettings_t, PRF));
    EXPECT_EQ(56u, offsetof(kmssRadarSettings_t, fineInMediumAverage));
    EXPECT_EQ(60u, offsetof(kmssRadarSettings_t, delayLengthCoarseTune));
    EXPECT_EQ(316u, offsetof(kmssRadarSettings_t, delayLengthMediumTune));
    EXPECT_EQ(572u, offsetof(kmssRadarSettings_t, delayLengthFineTune));
    EXPECT_EQ(828u, offsetof(kmssRadarSettings_t, stopWatchInitialized));
    EXPECT_EQ(832u, offsetof(kmssRadarSettings_t, frameLengths));
    EXPECT_EQ(900u, offsetof(kmssRadarSettings_t, PGDelay));
    EXPECT_EQ(964u, offsetof(kmssRadarSettings_t, chekcsum));
    EXPECT_EQ(968u, offsetof(kmssRadarSettings_t, modified));
    EXPECT_EQ(972u, offsetof(kmssRadarSettings_t, cfgPulsesPerStep));
    EXPECT_EQ(1004u, offsetof(kmssRadarSettings_t, cfgSampleDelay));
    EXPECT_EQ(1016u, offsetof(kmssRadarSettings_t, cfgFrameStitch));
    EXPECT_EQ(1020u, offsetof(kmssRadarSettings_t, carrierFreqFromPG));
}

} // namespace
