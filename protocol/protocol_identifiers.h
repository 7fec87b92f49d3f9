/* Numeric identifiers of the module protocol.
 *
 * The values are fixed by the module firmware and must never change. Two layers: KMS_ names are the bytes and
 * 32-bit words of the wire protocol itself, KMID_ names are the values a caller hands to the module facades.
 * A few unprefixed groups (message identifiers, link error codes) sit beside them.
 *
 * Names are kept exactly as the firmware spells them, oddities included (KMS_USER_CONTENTID_COMFIGMSG,
 * chekcsum). Several names share a value on purpose: _FIRST/_LAST markers share the value of a real entry,
 * and the application and file commands of the direct-command family overlap.
 *
 * One-byte families are plain enumerations; the 32-bit content identifiers and protocol words are unsigned
 * macros, because several of them do not fit a C int (the suffix also keeps them unsigned in the Python
 * binding). Both forms are published as integer constants by the binding.
 *
 * This header is plain C99 and is included from C and C++ alike. */
#ifndef PROTOCOL_IDENTIFIERS_H
#define PROTOCOL_IDENTIFIERS_H

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Framing --------------------------------------------------------------------------------------------
 */

enum serial_flag_byte_en {
    KMS_FLAG_START = 0x7D,
    KMS_FLAG_END = 0x7E,
    KMS_FLAG_ESC = 0x7F,
    KMS_FLAGSEQUENCE_START_NOESCAPE = 0x7C7C7C7C
};

/* ---- Protocol words (32 bits) ------------------------------------------------------------------------- */

#define KMS_DEF_ENTER_BOOTLOADER_KEY 0xC4D1371Au
#define KMS_DEF_ENTER_BOOTLOADER_KEY_2 0xC4D1471Bu
#define KMS_DEF_PONGVAL_READY 0xAAEEAEEAu
#define KMS_DEF_PONGVAL_NOTREADY 0xAEEAEEAAu
#define KMS_DEF_PINGVAL 0xEEAAEAAEu
#define KMS_DEF_PONGVAL_SAFEMODE 0xFFEEFEEFu

/* ---- Command codes: the first byte of a packet to the module --------------------------------------------
 */

typedef enum serial_protocol_command_en {
    KMS_SPC_RESERVED = 0x00,
    KMS_SPC_PING = 0x01,
    KMS_SPC_START_BOOTLOADER = 0x02,
    KMS_SPC_APPCOMMAND = 0x10,
    KMS_SPC_MOD_SETMODE = 0x20,
    KMS_SPC_MOD_LOADAPP = 0x21,
    KMS_SPC_MOD_RESET = 0x22,
    KMS_SPC_MOD_SETCOM = 0x23,
    KMS_SPC_MOD_SETLEDCONTROL = 0x24,
    KMS_SPC_MOD_NOISEMAP = 0x25,
    KMS_SPC_IOPIN = 0x40,
    KMS_SPC_OUTPUT = 0x41,
    KMS_SPC_G7DRIVER = 0x50,
    KMS_SPC_DIR_COMMAND = 0x90,
    KMS_SPC_HIL = 0xA0,
    KMS_SPC_DEBUG_LEVEL = 0xB0,
    KMS_SPC_BOOTLOADER = 0xC0
} serial_protocol_command_t;

/* Second byte after KMS_SPC_APPCOMMAND. */
enum serial_protocol_appcommand_en {
    KMS_SPCA_RESERVED = 0x00,
    KMS_SPCA_SET = 0x10,
    KMS_SPCA_GET = 0x11,
    KMS_SPCA_FACTORY_PRESET = 0x12,
    KMS_SPCA_STORE_NOISEMAP = 0x13,
    KMS_SPCA_LOAD_NOISEMAP = 0x14,
    KMS_SPCA_GET_PARAMETER_FILE = 0x15,
    KMS_SPCA_POLL = 0x20
};

/* Second byte after KMS_SPC_BOOTLOADER. */
enum serial_protocol_bootloader_command_en {
    KMS_SPCB_GET_DEVICE_INFO = 0x00,
    KMS_SPCB_WRITE_PAGE = 0x10,
    KMS_SPCB_START_APP = 0x20
};

/* Second byte after KMS_SPC_IOPIN. */
enum serial_protocol_command_iopin_en {
    KMS_SPCIOP_RESERVED = 0x00,
    KMS_SPCIOP_SETCONTROL = 0x10,
    KMS_SPCIOP_GETCONTROL = 0x11,
    KMS_SPCIOP_SETVALUE = 0x20,
    KMS_SPCIOP_GETVALUE = 0x21
};

/* Second byte after KMS_SPC_OUTPUT. */
enum serial_protocol_command_output_en {
    KMS_SPCO_RESERVED = 0x00,
    KMS_SPCO_SETCONTROL = 0x10,
    KMS_SPCO_GETCONTROL = 0x11
};

/* Second byte after KMS_SPC_MOD_NOISEMAP. */
enum serial_protocol_command_noisemap_en {
    KMS_SPCN_RESERVED = 0x00,
    KMS_SPCN_SETCONTROL = 0x10,
    KMS_SPCN_GETCONTROL = 0x11
};

/* Second byte after KMS_SPC_G7DRIVER. */
enum serial_protocol_command_g7driver_en {
    KMS_SPCX_RESERVED = 0x00,
    KMS_SPCX_SET = 0x10,
    KMS_SPCX_GET = 0x11,
    KMS_SPCX_WRITE = 0x12,
    KMS_SPCX_READ = 0x13,
    KMS_SPCX_INIT = 0x20
};

/* Third byte after KMS_SPC_G7DRIVER. */
enum serial_protocol_command_g7driver_id_en {
    KMS_SPCXI_RESERVED = 0x00,
    KMS_SPCXI_FPS = 0x10,
    KMS_SPCXI_PULSESPERSTEP = 0x11,
    KMS_SPCXI_ITERATIONS = 0x12,
    KMS_SPCXI_DOWNCONVERSION = 0x13,
    KMS_SPCXI_FRAMEAREA = 0x14,
    KMS_SPCXI_DACSTEP = 0x15,
    KMS_SPCXI_DACMIN = 0x16,
    KMS_SPCXI_DACMAX = 0x17,
    KMS_SPCXI_FRAMEAREAOFFSET = 0x18,
    KMS_SPCXI_ENABLE = 0x19,
    KMS_SPCXI_TXCENTERFREQUENCY = 0x20,
    KMS_SPCXI_TXPOWER = 0x21,
    KMS_SPCXI_SPIREGISTER = 0x22,
    KMS_SPCXI_PIFREGISTER = 0x23,
    KMS_SPCXI_XIFREGISTER = 0x24,
    KMS_SPCXI_PRFDIV = 0x25
};

enum serial_protocol_application_en { KMS_SPA_COMMON_GET_SPECTRUM = 0x90, KMS_SPA_VSDM_GET_STATUS = 0xA0 };

/* Belongs to KMS_SPC_HIL. */
enum serial_protocol_hil_en {
    KMS_SPH_RESERVED = 0x00,
    KMS_SPH_CMD_CONTINUE = 0x10,
    KMS_SPH_SEND_FLOAT = 0x20
};

/* Second byte after KMS_SPC_DIR_COMMAND. The ranges are radar 0x10-0x40, system 0x50-0x75, application
 * 0x70-0x71 and communication 0x80; the application range lies inside the system range, so a byte of 0x70 or
 * 0x71 means what the builder that wrote it meant. */
enum sensor_direct_command_en {
    KMS_SDC_RESERVED = 0x00,
    KMS_SDC_RADAR_FIRST = 0x10,
    KMS_SDC_RADLIB_EXECUTE = 0x10,
    KMS_SDC_RADLIB_SETVARINT = 0x11,
    KMS_SDC_RADLIB_GETVARINT = 0x12,
    KMS_SDC_RADLIB_SETVARFLOAT = 0x13,
    KMS_SDC_RADLIB_GETVARFLOAT = 0x14,
    KMS_SDC_RADLIB_SETREGFIELD = 0x15,
    KMS_SDC_RADLIB_GETREGFIELD = 0x16,
    KMS_SDC_RADLIB_GETFRAMEFLOAT = 0x17,
    KMS_SDC_RADLIB_GETFRAMERAW = 0x18,
    KMS_SDC_RADLIB_GETCHIPID = 0x19,
    KMS_SDC_RADLIB_TIMINGMEASUREMENT = 0x20,
    KMS_SDC_RADHW_RESET = 0x30,
    KMS_SDC_RADHW_CLOCK = 0x31,
    KMS_SDC_RADAR_LAST = 0x40,
    KMS_SDC_RADMSC_DOFRAMETOFLASH = 0x40,
    KMS_SDC_SYSTEM_FIRST = 0x50,
    KMS_SDC_SYSTEM_TEST = 0x50,
    KMS_SDC_SYSCFG_SETINT = 0x51,
    KMS_SDC_SYSCFG_SETFLOAT = 0x52,
    KMS_SDC_SYSFLASH_GETBLOCK = 0x53,
    KMS_SDC_SYSFLASH_SETBLOCK = 0x54,
    KMS_SDC_SYSTEM_GET_VERSION = 0x55,
    KMS_SDC_SYSTEM_GET_BUILD = 0x56,
    KMS_SDC_SYSTEM_GET_PRODUCT = 0x57,
    KMS_SDC_SYSTEM_GET_INFO = 0x58,
    KMS_SDC_SYSTEM_GET_DEBUG_DATA = 0x59,
    KMS_SDC_GET_PARAMETER_FILE = 0x60,
    KMS_SDC_GET_CRASH_DUMP_LENGTH = 0x61,
    KMS_SDC_CLEAR_CRASH_DUMP = 0x62,
    KMS_SDC_GET_CRASH_DUMP = 0x63,
    KMS_SDC_SEARCH_FILE_TYPE = 0x64,
    KMS_SDC_FIND_ALL_FILES = 0x65,
    KMS_SDC_CREATE_NEW_FILE = 0x66,
    KMS_SDC_SET_FILE_DATA = 0x67,
    KMS_SDC_CLOSE_FILE = 0x68,
    KMS_SDC_GET_FILE_LENGTH = 0x69,
    KMS_SDC_APP_FIRST = 0x70,
    KMS_SDC_APP_SETFLOAT = 0x70,
    KMS_SDC_DELETE_FILE = 0x70,
    KMS_SDC_APP_LAST = 0x71,
    KMS_SDC_APP_SETINT = 0x71,
    KMS_SDC_GET_FILE_DATA = 0x71,
    KMS_SDC_OPEN_FILE = 0x72,
    KMS_SDC_FORMAT_FILESYSTEM = 0x73,
    KMS_SDC_GET_PROFILEID = 0x74,
    KMS_SDC_SYSTEM_LAST = 0x75,
    KMS_SDC_COMM_FIRST = 0x80,
    KMS_SDC_COMM_LAST = 0x80,
    KMS_SDC_COMM_SETBAUDRATE = 0x80
};

/* ---- Replies: the first byte of a packet from the module ------------------------------------------------
 */

/* The code 0x51 stays reserved under its deprecated name. */
enum serial_protocol_response_en {
    KMS_SPR_RESERVED = 0x00,
    KMS_SPR_PONG = 0x01,
    KMS_SPR_ACK = 0x10,
    KMS_SPR_REPLY = 0x11,
    KMS_SPR_HIL = 0x12,
    KMS_SPR_ERROR = 0x20,
    KMS_SPR_SYSTEM = 0x30,
    KMS_SPR_APPDATA = 0x50,
    DEPRECATED_KMS_SPR_APPDATA_FAST = 0x51,
    KMS_SPR_DATA = 0xA0
};

/* Data type of a KMS_SPR_REPLY. */
enum serial_protocol_response_datatype_en {
    KMS_SPRD_NONE = 0x00,
    KMS_SPRD_BYTE = 0x10,
    KMS_SPRD_INT = 0x11,
    KMS_SPRD_FLOAT = 0x12,
    KMS_SPRD_STRING = 0x13,
    KMS_SPRD_USER = 0x50
};

/* Error code after KMS_SPR_ERROR. */
enum serial_protocol_response_errorcode_en {
    KMS_SPRE_RESERVED = 0x00,
    KMS_SPRE_NOT_RECOGNIZED = 0x01,
    KMS_SPRE_CRC_FAILED = 0x02,
    KMS_SPRE_BUSY = 0x03,
    KMS_SPRE_APP_INVALID = 0x20,
    KMS_SPRE_COMMAND_FAILED = 0x21,
    KMS_SPRE_USER = 0xA0
};

/* System status after KMS_SPR_SYSTEM. */
enum serial_protocol_response_systemcode_en {
    KMS_SPRS_RESERVED = 0x00,
    KMS_SPRS_BOOTING = 0x10,
    KMS_SPRS_READY = 0x11
};

/* ---- Content identifiers (32 bits): the content of a data packet, an output, a file or an application ----
 */

#define KMS_ID_APP_UNKNOWN 0x00000000u
#define KMS_ID_BASEBAND_IQ 0x0000000Cu
#define KMS_ID_BASEBAND_AMPLITUDE_PHASE 0x0000000Du
#define KMS_ID_PULSEDOPPLER_FLOAT 0x00000010u
#define KMS_ID_PULSEDOPPLER_BYTE 0x00000011u
#define KMS_ID_NOISEMAP_FLOAT 0x00000012u
#define KMS_ID_NOISEMAP_BYTE 0x00000013u
#define KMS_ID_APP_PRESENCE 0x00288912u
#define KMS_ID_APP_SLEEP 0x00F17B17u
#define KMS_ID_APP_PRESENCE_2 0x014D4AB8u    /* profile of the presence-sensing facade */
#define KMS_ID_APP_RESPIRATION_2 0x064E57ADu /* profile of the sleep-sensing facade */
#define KMS_ID_SENSITIVITY 0x10A5112Bu
#define KMS_ID_APP_RESP 0x1423A2D6u
#define KMS_ID_RESP_STATUS_EXT 0x2375A16Bu
#define KMS_ID_SLEEP_STATUS 0x2375A16Cu
#define KMS_ID_RESP_STATUS 0x2375FE26u
#define KMS_ID_DECIM_STATUS 0x327645AAu
#define KMS_ID_PROFILE_PARAMETERFILE 0x32BA7623u
#define KMS_ID_APP_RESPIRATION_3 0x47FABEBAu
#define KMS_ID_APP_RADAR 0x57DABF09u
#define KMS_ID_RESPIRATION_MOVINGLIST 0x610A3B00u
#define KMS_ID_RESPIRATION_DETECTIONLIST 0x610A3B02u
#define KMS_ID_PRESENCE_SINGLE 0x723BFA1Eu
#define KMS_ID_PRESENCE_MOVINGLIST 0x723BFA1Fu
#define KMS_ID_DETECTION_ZONE 0x96A10A1Cu
#define KMS_ID_DETECTION_ZONE_LIMITS 0x96A10A1Du
#define KMS_ID_PRESENCE_STATUS 0x991A52BEu
#define KMS_ID_APP_DECIM 0x9BB3A2C6u

/* ---- Output selectors and configuration items ---------------------------------------------------------- */

typedef enum baseband_output_type_en {
    KMS_SACR_ID_BASEBAND_OUTPUT_OFF = 0x00,
    KMS_SACR_ID_BASEBAND_OUTPUT_IQ = 0x01,
    KMS_SACR_ID_BASEBAND_OUTPUT_AMPLITUDE_PHASE = 0x02,
    KMS_BASEBAND_AMPLITUDE_ONLY = 0x03,
    KMS_BASEBAND_PHASE_ONLY = 0x04
} baseband_output_type_t;

typedef enum pulsedoppler_output_type_en {
    KMS_PULSEDOPPLER_OUTPUT_OFF = 0x00,
    KMS_PULSEDOPPLER_AS_FLOAT = 0x01,
    KMS_PULSEDOPPLER_AS_BYTE = 0x02
} pulsedoppler_output_type_t;

enum sensor_app_config_reference_en {
    KMS_SACR_RESERVED = 0x00,
    KMS_SACR_OUTPUTBASEBAND = 0x10,
    KMS_SACR_OUTPUTSTATUS = 0x11,
    KMS_SACR_OUTPUTSTATUSEXT = 0x12,
    KMS_SACR_OUTPUT_RF = 0x13,
    KMS_SACR_OUTPUT_PULSE_DOPPLER = 0x14
};

enum sensor_system_config_reference_en {
    KMS_SSCR_RESERVED = 0x00,
    KMS_SSCR_PULSESPERSTEP = 0x10,
    KMS_SSCR_ITERATIONS = 0x11,
    KMS_SSCR_DACSTEP = 0x12,
    KMS_SSCR_DACMIN = 0x13,
    KMS_SSCR_DACMAX = 0x14,
    KMS_SSCR_SAMPLEDELAY = 0x15,
    KMS_SSCR_PGSELECT = 0x16,
    KMS_SSCR_MCLKDIV = 0x17,
    KMS_SSCR_STAGGEREDPRFENABLE = 0x18,
    KMS_SSCR_DACAUTO = 0x19,
    KMS_SSCR_FPS = 0x1A,
    KMS_SSCR_FRAMESTITCH = 0x1B
};

/* ---- Sensor modes (low level) -------------------------------------------------------------------------- */

typedef enum sensor_mode_en {
    KMS_SM_RESERVED = 0x00,
    KMS_SM_RUN = 0x01,
    KMS_SM_NORMAL = 0x10,
    KMS_SM_IDLE = 0x11,
    KMS_SM_MANUAL = 0x12,
    KMS_SM_STOP = 0x13,
    KMS_SM_REG = 0x50
} sensor_mode_t;

typedef enum sensor_mode_normal_submode_en {
    KMS_SM_NORMAL_EMBEDDED = 0x00,
    KMS_SM_NORMAL_HIL_UP = 0x01,
    KMS_SM_NORMAL_HIL_DOWN = 0x02,
    KMS_SM_NORMAL_DEFAULT = 0xFF
} sensor_mode_normal_submode_t;

/* Modes for regulatory certification. */
typedef enum sensor_mode_reg_submode_en {
    KMS_SM_REG_IDLE = 0x00,
    KMS_SM_REG_CERT_TX_ONLY = 0x01,
    KMS_SM_REG_CERT_TX_ONLY_TX_OFF = 0x02,
    KMS_SM_REG_CERT_STREAM_TX_OFF = 0x03,
    KMS_SM_REG_CERT_TX_ONLY_EXTCLK = 0x04,
    KMS_SM_REG_CERT_STREAM = 0x05,
    KMS_SM_REG_CERT_TX_ONLY_CLKOUT = 0x06,
    KMS_SM_REG_CERT_RX_FAILURE_EMU = 0x07
} sensor_mode_reg_submode_t;

/* ---- System information and self-test (low level) ------------------------------------------------------ */

enum serial_system_info_code_en {
    KMS_SSIC_ITEMNUMBER = 0x00,
    KMS_SSIC_ORDERCODE = 0x01,
    KMS_SSIC_FIRMWAREID = 0x02,
    KMS_SSIC_VERSION = 0x03,
    KMS_SSIC_BUILD = 0x04,
    KMS_SSIC_APPIDLIST = 0x05,
    KMS_SSIC_SERIALNUMBER = 0x06
};

/* A range check written with the _LAST name includes the last test. */
enum serial_system_test_code_en {
    KMS_SSTC_SUCCESS = 0x00,
    KMS_SSTC_FAILED = 0x01,
    KMS_SSTC_NOTIMPLEMENTED = 0x02,
    KMS_SSTC_TEST_FIRST = 0x10,
    KMS_SSTC_TEST_RESETCOUNT = 0x10,
    KMS_SSTC_TEST_EXTRAM = 0x11,
    KMS_SSTC_TEST_EXTFLASH = 0x12,
    KMS_SSTC_TEST_PMIC = 0x13,
    KMS_SSTC_TEST_INPUT_HIGH = 0x14,
    KMS_SSTC_TEST_INPUT_LOW = 0x15,
    KMS_SSTC_TEST_OUTPUT_HIGH = 0x16,
    KMS_SSTC_TEST_OUTPUT_LOW = 0x17,
    KMS_SSTC_TEST_READ_IOPINS = 0x18,
    KMS_SSTC_TEST_G7_CONN = 0x19,
    KMS_SSTC_TEST_CERT_MODE_EN = 0x1A,
    KMS_SSTC_TEST_CERT_MODE_DIS = 0x1B,
    KMS_SSTC_TEST_LAST = 0x1B
};

/* ---- User content and states inside data records ------------------------------------------------------- */

enum kms_user_contentid_en {
    KMS_USER_CONTENTID_COMFIGMSG = 0x01,
    KMS_USER_CONTENTID_RADARSETTINGS = 0x03,
    KMS_USER_CONTENTID_SYSTEM_STATUS = 0x05
};

enum kms_presence_state_en {
    KMS_VAL_PRESENCE_PRESENCESTATE_NO_PRESENCE = 0x00,
    KMS_VAL_PRESENCE_PRESENCESTATE_PRESENCE = 0x01,
    KMS_VAL_PRESENCE_PRESENCESTATE_INITIALIZING = 0x02,
    KMS_VAL_PRESENCE_PRESENCESTATE_UNKNOWN = 0x03
};

enum kms_respiration_state_en {
    KMS_VAL_RESP_STATE_BREATHING = 0x00,
    KMS_VAL_RESP_STATE_MOVEMENT = 0x01,
    KMS_VAL_RESP_STATE_MOVEMENT_TRACKING = 0x02,
    KMS_VAL_RESP_STATE_NO_MOVEMENT = 0x03,
    KMS_VAL_RESP_STATE_INITIALIZING = 0x04,
    KMS_VAL_RESP_STATE_ERROR = 0x05,
    KMS_VAL_RESP_STATE_UNKNOWN = 0x06
};

/* ---- User level: values a caller passes to the module facades ------------------------------------------ */

enum kmid_system_info_code_en {
    KMID_SSIC_ITEMNUMBER = 0x00,   /* internal item number of the board */
    KMID_SSIC_ORDERCODE = 0x01,    /* order code of the board or board stack */
    KMID_SSIC_FIRMWAREID = 0x02,   /* firmware identifier, as seen from the highest level of the software */
    KMID_SSIC_VERSION = 0x03,      /* firmware version, as seen from the highest level of the software */
    KMID_SSIC_BUILD = 0x04,        /* information on the software build */
    KMID_SSIC_SERIALNUMBER = 0x06, /* serial number of the board */
    KMID_SSIC_VERSIONLIST = 0x07   /* identifier and version of all components, compounded into one string */
};

enum kmid_sensor_mode_en {
    KMID_SM_RUN = 0x01, /* start profile execution */
    KMID_SM_NORMAL = 0x10,
    KMID_SM_IDLE = 0x11,   /* halt profile execution; resumed by setting the mode to run */
    KMID_SM_MANUAL = 0x12, /* route radar data to the host instead of the application on the module */
    KMID_SM_STOP = 0x13    /* stop profile execution; a new profile load is needed to continue */
};

/* Bits per second; the same set the serial transport accepts. */
enum kmid_baudrate_en {
    KMID_BAUDRATE_9600 = 9600,
    KMID_BAUDRATE_19200 = 19200,
    KMID_BAUDRATE_38400 = 38400,
    KMID_BAUDRATE_115200 = 115200,
    KMID_BAUDRATE_230400 = 230400,
    KMID_BAUDRATE_460800 = 460800,
    KMID_BAUDRATE_500000 = 500000,
    KMID_BAUDRATE_576000 = 576000,
    KMID_BAUDRATE_921600 = 921600,
    KMID_BAUDRATE_1000000 = 1000000,
    KMID_BAUDRATE_2000000 = 2000000,
    KMID_BAUDRATE_3000000 = 3000000,
    KMID_BAUDRATE_4000000 = 4000000
};

enum kmid_iopin_setup_en {
    KMID_IOPIN_SETUP_INPUT = 0x00,
    KMID_IOPIN_SETUP_OUTPUT = 0x01,
    KMID_IOPIN_SETUP_PUSH_PULL = 0x02,
    KMID_IOPIN_SETUP_INVERTED = 0x04
};

enum kmid_iopin_feature_en {
    KMID_IOPIN_FEATURE_DISABLE = 0x00,
    KMID_IOPIN_FEATURE_DEFAULT = 0x01,
    KMID_IOPIN_FEATURE_PASSIVE = 0x02,
    KMID_IOPIN_FEATURE_LAST = 0x03,
    KMID_IOPIN_FEATURE_PRESENCE = 0x03
};

enum kmid_output_control_en {
    KMID_OUTPUT_CONTROL_DISABLE = 0x00,        /* output off */
    KMID_OUTPUT_CONTROL_ENABLE = 0x01,         /* output on; also the slow pulse-Doppler stream */
    KMID_OUTPUT_CONTROL_PD_SLOW_ENABLE = 0x01, /* the slow pulse-Doppler stream */
    KMID_OUTPUT_CONTROL_PD_FAST_ENABLE = 0x02  /* the fast pulse-Doppler stream */
};

/* A bit mask. */
enum kmid_noisemap_control_en {
    KMID_NOISEMAP_CONTROL_DISABLE = 0x00,      /* no bit set */
    KMID_NOISEMAP_CONTROL_ENABLE = 0x01,       /* use the noise map */
    KMID_NOISEMAP_CONTROL_ADAPTIVE = 0x02,     /* adapt the noise map over time */
    KMID_NOISEMAP_CONTROL_INIT_ON_RESET = 0x04 /* do not store, but initialize at each reset */
};

enum kmid_led_mode_en {
    KMID_LED_MODE_OFF = 0x00,
    KMID_LED_MODE_SIMPLE = 0x01,
    KMID_LED_MODE_FULL = 0x02 /* the default */
};

enum kmid_mcp_error_en { KMID_MCP_ERROR_NOT_RECOGNIZED = 0x01 };

/* ---- Message identifiers and link errors --------------------------------------------------------------- */

/* ID_BASEBAND_IQ and ID_BASEBAND_AP carry the numbers of KMS_ID_BASEBAND_IQ and
 * KMS_ID_BASEBAND_AMPLITUDE_PHASE. */
typedef enum eContentID_en {
    ID_RAW_FRAME_BUFFER = 0,
    ID_BASEBAND_BUFFER_ICHANN = 1,
    ID_BASEBAND_BUFFER_QCHANN = 2,
    ID_BASEBAND_BUFFER_IQCHANN_LEGACY = 3,
    ID_BASEBAND_ENVELOPE = 4,
    ID_DOPPLER_FFT_INPUT = 5,
    ID_DOPPLER_FFT_OUTPUT = 6,
    ID_PULSEDOPPLER_MATRIX = 7,
    ID_NOISEMAP = 8,
    ID_FRAMESTORAGE_BUFFER_ICHANN = 9,
    ID_FRAMESTORAGE_BUFFER_QCHANN = 10,
    ID_RAW_FLASH_FRAME = 11,
    ID_BASEBAND_IQ = 12,
    ID_BASEBAND_AP = 13,
    ID_GENERIC_BYTE_STREAM = 14,
    NUMBER_OF_MESSAGE_IDS = 15
} eContentID;

/* The first four are what the frame parser hands its error callback. */
enum protocol_errors {
    CRC_ERROR = 1,
    LOST_BYTES = 2,
    INCOMPLETE_PACKET = 3,
    OUT_OF_BUFFER = 4,
    COMMAND_TIMEOUT = 5
};

/* ---- Plain structures -----------------------------------------------------------------------------------
 * Little-endian on the wire, at the natural offsets of these declarations on the hosts we build for
 * (x86-64, armhf); the tests pin every offset. */

typedef struct baseband_output_header_t {
    eContentID id;
    uint32_t Counter;
    uint32_t NumOfBins;
    float BinLength;
    float SamplingFrequency;
    float CarrierFrequency;
    float RangeOffset;
} baseband_output_header_t;

typedef struct kmsUserVsdmStatus {
    uint32_t frameCtr;
    uint32_t state;
    uint32_t stateData;
    float objectDistance;
    float objectMovement;
    uint32_t signalQuality;
} kmsUserVsdmStatus;

typedef struct kmsUserPresenceStatus {
    uint32_t presence;
    float objectDistance;
    float detectionValue;
    uint32_t signalQuality;
} kmsUserPresenceStatus;

typedef struct kmsUserRadarPerformanceStatus_t {
    uint32_t swRadarSweep;
    uint32_t swRadarCaptureFrame;
    uint32_t swRadarNormalizeFrame;
    uint32_t swDoPrimary;
    uint32_t swDoSecondary;
    uint32_t swDoOutput;
    uint32_t frameStitch;
    uint32_t FPS;
    uint32_t overflowRadarTrigger;
    uint32_t overflowPrimary;
    uint32_t overflowOutput;
    uint32_t memSysStackUntouched;
    uint32_t memOSHeap;
    uint32_t memTaskRadar;
    uint32_t memTaskAppEnginePrimary;
    uint32_t memTaskAppEngineSecondary;
    uint32_t memTaskSystem;
    uint32_t memTaskUartRx;
    uint32_t memTaskUartTx;
    uint32_t idleTicks;
    uint32_t comTxBufHighWatermark;
    int32_t periodSystemTicks;
    int32_t lastSystemTick;
} kmsUserRadarPerformanceStatus_t;

/* The module's record of its radar configuration. Four bytes of padding follow timingValue and three follow
 * modified, as the module's own compiler lays the record out. */
typedef struct kmssRadarSettings_t {
    float timingValue;
    uint64_t timingValueRaw;
    int32_t PRF;
    int32_t delayInCoarseMeasured;
    int32_t delayInMediumMeasured;
    int32_t delayInFineMeasured;
    float delayCoarseTune;
    float delayMediumTune;
    float delayFineTune;
    float samplesPerSecond;
    float frameSize;
    float mediumInCoarseAverage;
    float fineInMediumAverage;
    float delayLengthCoarseTune[64];
    float delayLengthMediumTune[64];
    float delayLengthFineTune[64];
    int32_t stopWatchInitialized;
    float frameLengths[15];
    float origSampleDelayLength;
    float sampleDelayLengthError;
    float PGDelay[16];
    int32_t chekcsum;
    bool modified;
    int32_t cfgPulsesPerStep;
    int32_t cfgIterations;
    int32_t cfgDACStep;
    int32_t cfgDACMin;
    int32_t cfgDACMax;
    int32_t cfgPGSelect;
    int32_t cfgMClkDiv;
    int32_t cfgStaggeredPRFEnable;
    float cfgSampleDelay;
    int32_t cfgDACAuto;
    int32_t cfgFPS;
    int32_t cfgFrameStitch;
    float carrierFreqFromPG[13];
} kmssRadarSettings_t;

#ifdef __cplusplus
}
#endif

#endif
