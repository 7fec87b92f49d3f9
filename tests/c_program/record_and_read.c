/* A plain C99 user of the C interface: records a few seconds of a module's presence readings with options and
 * a split size, then reads the recording back and checks it record by record. Takes the module emulator's
 * path as its argument; exits 0 when every step gives what it should. */
#define _XOPEN_SOURCE 700

#include "emulator_process.h"
#include "matlab_recording_api.h"
#include "matlab_wrapper.h"

#include <dirent.h>
#include <stdio.h>
#include <string.h>

#define PRESENCE_SINGLE 4096u
#define SESSION_ID "c-program-session"

static int failures = 0;

static void check(int condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "FAILED: %s\n", what);
        ++failures;
    }
}

/* The meta file of the one session directory below `directory`. */
static int find_meta_file(const char* directory, char* path, size_t size) {
    DIR* listing = opendir(directory);
    struct dirent* entry;
    int found = 1;
    if (!listing)
        return 1;
    while ((entry = readdir(listing)) != NULL) {
        if (strstr(entry->d_name, SESSION_ID)) {
            snprintf(path, size, "%s/%s/tervik_recording_meta.dat", directory, entry->d_name);
            found = 0;
        }
    }
    closedir(listing);
    return found;
}

static void record(const char* device, const char* directory) {
    DeviceBridge* bridge = dba_create_device_bridge(device, 0);
    G5_Type* g5;
    DataRecorderHandle* recorder;
    RecordingOptionsHandle* options = dba_create_recording_options();
    RecordingSplitSizeHandle* split = dba_create_recording_split_size();
    unsigned int pong = 0;

    check(bridge != NULL, "the bridge opens");
    if (!bridge)
        return;
    g5 = dba_get_g5(bridge);
    check(dba_ping(g5, &pong) == 0 && pong == 0xAAEEAEEAu, "the module answers ping");
    check(set_session_id(options, SESSION_ID) == 0, "session id set");
    check(set_duration(split, 1) == 0 && set_file_split_size(options, split) == 0, "split size set");
    dba_destroy_recording_split_size(split);
    recorder = dba_get_data_recorder(bridge);
    check(dba_start_recording(recorder, PRESENCE_SINGLE, directory, options) == 0, "recording starts");
    dba_wait(3);
    check(dba_stop_recording(recorder, PRESENCE_SINGLE) == 0, "recording stops");
    dba_destroy_data_recorder(recorder);
    dba_destroy_recording_options(options);
    dba_destroy_G5_interface(g5);
    /* Stores what is queued and closes the files. */
    dba_destroy_device_bridge(bridge);
}

static void read_back(const char* meta_filename) {
    DataReaderHandle* reader = data_reader_create();
    unsigned char data[256];
    char session[64];
    unsigned int session_length = 0;
    uint32_t count = 0, data_type = 0, max_size = 0;
    int64_t epoch = 0, last_epoch = 0;
    unsigned int records = 0, wrong_types = 0, backwards = 0;
    uint8_t is_user_header = 0;

    check(data_reader_open(reader, meta_filename, -1) == 0, "the recording opens");
    check(data_reader_is_open(reader) == 1, "the reader is open");
    check(data_reader_get_session_id(reader, session, &session_length, sizeof session) == 0 &&
              session_length == strlen(SESSION_ID) && memcmp(session, SESSION_ID, session_length) == 0,
          "the session id comes back");
    check(data_reader_get_max_record_size(reader, &max_size) == 0 && max_size <= sizeof data,
          "records fit the buffer");
    while (!data_reader_at_end(reader) && data_reader_read_record(reader, data, sizeof data, &count,
                                                                  &data_type, &epoch, &is_user_header) == 0) {
        wrong_types += data_type != PRESENCE_SINGLE || count == 0;
        backwards += epoch < last_epoch;
        last_epoch = epoch;
        ++records;
    }
    /* Five readings a second for three seconds, less the start-up. */
    check(records >= 5, "several records were recorded");
    check(wrong_types == 0, "every record is a presence reading");
    check(backwards == 0, "records come in the order of their time");
    check(data_reader_seek_ms(reader, 0) == 0 && data_reader_at_end(reader) == 0, "a seek rewinds");
    data_reader_destroy(reader);
}

int main(int argc, char** argv) {
    const char* const arguments[] = {"--profile", "presence", NULL};
    struct emulator_process emulator;
    char directory[64], meta_filename[512];

    if (argc != 2 || emulator_start(&emulator, argv[1], arguments) != 0) {
        fprintf(stderr, "usage: record_and_read MODULE_EMULATOR (it did not start)\n");
        return 2;
    }
    if (scratch_make(directory, sizeof directory) != 0) {
        emulator_stop(&emulator);
        return 2;
    }
    record(emulator.device, directory);
    emulator_stop(&emulator);
    check(find_meta_file(directory, meta_filename, sizeof meta_filename) == 0,
          "the session directory exists");
    if (failures == 0)
        read_back(meta_filename);
    scratch_remove(directory);
    if (failures == 0)
        printf("recorded and read back\n");
    return failures == 0 ? 0 : 1;
}
