/* Recording, reading recordings back and playing them: the plain C interface for numerical environments.
 *
 * Flat functions over DataRecorder, RecordingOptions, PreferredSplitSize, DataReader and DataPlayer, for a
 * caller that loads the shared library and sees nothing but C: every object is an opaque handle that the
 * library allocates and that its own destroy function releases.
 *
 * Unless a function says otherwise, it returns 0 for success and 1 for any failure; no C++ exception ever
 * leaves it. The library never allocates for the caller: every buffer is the caller's, and the rules are
 *   text        (char* buffer, unsigned int max_length): copied with its terminator when max_length is at
 *               least the length of the text, else nothing is copied and the result is 1. The terminator is
 *               not counted, so the buffer must hold max_length + 1 bytes.
 *   session id  (char* buffer, unsigned int* length, unsigned int max_length): *length (if not null) is
 *               cleared, then set to the count of characters copied; no terminator is written, so the
 *               buffer needs max_length bytes. 1 and nothing copied when the id is longer than max_length.
 *
 * The recording, reader and player handles have no lock: each belongs to one thread at a time. A data type
 * is one bit of the DataType mask (baseband AP 1, baseband IQ 2, sleep 4, respiration 8, ... presence single
 * 4096, respiration moving list 32768); a mask is a set of them, or 0xFFFFFFFF for all. */
#ifndef DEVICEBRIDGE_MATLAB_RECORDING_API_H
#define DEVICEBRIDGE_MATLAB_RECORDING_API_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DataRecorderHandle DataRecorderHandle;
typedef struct DataReaderHandle DataReaderHandle;
typedef struct DataPlayerHandle DataPlayerHandle;
typedef struct RecordingOptionsHandle RecordingOptionsHandle;
typedef struct RecordingSplitSizeHandle RecordingSplitSizeHandle;

/* ---- recording ----------------------------------------------------------------------------------------
 * A recorder comes from dba_get_data_recorder (on a bridge's module) or dba_create_data_recorder (fed by
 * dba_process alone), see matlab_wrapper.h. Recording runs on the recorder's own thread: these functions
 * queue the work and return.
 *
 * dba_start_recording: starts every type of the mask into `directory`, which must exist; options may be
 *   null for the defaults (a fresh session id, no splitting). 1 if any type failed or the mask is 0 or
 *   invalid.
 * dba_stop_recording: stops the types of the mask; packets queued before are still stored.
 * dba_process: queues a copy of `length` bytes of packet for the type; 1 when the type isn't recording.
 * The basename of a type is the part of its data file names before "_<date>_<time>.<extension>". */
int dba_start_recording(DataRecorderHandle* recorder, uint32_t data_types, const char* directory,
                        const RecordingOptionsHandle* options);
int dba_stop_recording(DataRecorderHandle* recorder, uint32_t data_types);
int dba_process(DataRecorderHandle* recorder, uint32_t data_type, const unsigned char* data,
                unsigned int length);
int dba_get_basename_for_data_type(DataRecorderHandle* recorder, uint32_t data_type, char* buffer,
                                   unsigned int max_length);
int dba_set_basename_for_data_type(DataRecorderHandle* recorder, uint32_t data_type, const char* basename);
int dba_clear_basename_for_data_types(DataRecorderHandle* recorder, uint32_t data_types);

/* ---- split sizes: when a recording begins a new file or directory ------------------------------------
 * A new split size never splits. Only the last setter has effect, and a value it refuses leaves "never
 * split": set_duration takes seconds above 0, set_byte_count a count of 1 or more, set_fixed_daily_hour an
 * hour of the local clock (above 23 counts as 23, negative is refused). */
RecordingSplitSizeHandle* dba_create_recording_split_size(void);
void dba_destroy_recording_split_size(RecordingSplitSizeHandle* split_size);
int set_duration(RecordingSplitSizeHandle* split_size, int seconds);
int set_byte_count(RecordingSplitSizeHandle* split_size, int64_t count);
int set_fixed_daily_hour(RecordingSplitSizeHandle* split_size, int hour);

/* ---- recording options: session, splitting, rate limit and user header --------------------------------
 * A new options object names a fresh session (a UUID) and splits nothing. The split sizes are copied in, so
 * a split size handle may be destroyed right after. set_data_rate_limit: the least milliseconds between two
 * records of one type, below 1 for no limit. set_user_header: `length` bytes that begin every data file. */
RecordingOptionsHandle* dba_create_recording_options(void);
void dba_destroy_recording_options(RecordingOptionsHandle* options);
int set_session_id(RecordingOptionsHandle* options, const char* session_id);
int get_session_id(const RecordingOptionsHandle* options, char* buffer, unsigned int* length,
                   unsigned int max_length);
int set_file_split_size(RecordingOptionsHandle* options, const RecordingSplitSizeHandle* split_size);
int set_directory_split_size(RecordingOptionsHandle* options, const RecordingSplitSizeHandle* split_size);
int set_data_rate_limit(RecordingOptionsHandle* options, int milliseconds);
int set_user_header(RecordingOptionsHandle* options, const unsigned char* data, unsigned int length);

/* ---- reading a recording back, record by record --------------------------------------------------------
 * data_reader_open takes the recording's meta file ("tervik_recording_meta.dat") and follows its chain of
 * meta files, `depth` of them (-1 for all).
 * data_reader_is_open and data_reader_at_end return their answer, 1 or 0, not a status.
 * data_reader_read_record copies at most `size` bytes of the next record into `data` (a longer record loses
 *   its rest) and moves on; every output pointer may be null. data_reader_peek_record doesn't move on.
 *   data_reader_get_max_record_size gives a size that fits every record, as the meta files state it.
 * Seeks go to the first record at or after the position, in milliseconds from the start or in bytes.
 * The filter is a data type mask; 0 and values above 65535 other than 0xFFFFFFFF are refused.
 * While closed, the start epoch, duration and size read -1 and the data types 0. */
DataReaderHandle* data_reader_create(void);
void data_reader_destroy(DataReaderHandle* reader);
int data_reader_open(DataReaderHandle* reader, const char* meta_filename, int depth);
int data_reader_close(DataReaderHandle* reader);
int data_reader_is_open(DataReaderHandle* reader);
int data_reader_at_end(DataReaderHandle* reader);
int data_reader_read_record(DataReaderHandle* reader, uint8_t* data, uint32_t size, uint32_t* read_count,
                            uint32_t* data_type, int64_t* epoch, uint8_t* is_user_header);
int data_reader_peek_record(DataReaderHandle* reader, uint8_t* data, uint32_t size, uint32_t* read_count,
                            uint32_t* data_type, int64_t* epoch, uint8_t* is_user_header);
int data_reader_seek_ms(DataReaderHandle* reader, int64_t position);
int data_reader_seek_byte(DataReaderHandle* reader, int64_t position);
int data_reader_set_filter(DataReaderHandle* reader, uint32_t data_types);
int data_reader_get_filter(DataReaderHandle* reader, uint32_t* data_types);
int data_reader_get_start_epoch(DataReaderHandle* reader, int64_t* epoch);
int data_reader_get_duration(DataReaderHandle* reader, int64_t* milliseconds);
int data_reader_get_size(DataReaderHandle* reader, int64_t* bytes);
int data_reader_get_data_types(DataReaderHandle* reader, uint32_t* data_types);
int data_reader_get_max_record_size(DataReaderHandle* reader, uint32_t* size);
int data_reader_get_session_id(DataReaderHandle* reader, char* buffer, unsigned int* length,
                               unsigned int max_length);

/* ---- playing a recording back as if a module sent it ----------------------------------------------------
 * data_player_create opens the recording behind the meta file (depth as for the reader) and returns null
 * when it can't. Give the player to dba_create_device_bridge_playback; it must outlive that bridge.
 * States: 0 stopped, 1 playing, 2 paused; data_player_set_state refuses anything above 2 with 1.
 * Positions and the duration are milliseconds from the start of the recording. The playback rate multiplies
 * the recorded pace (1.0 default, 0 holds, below 0 as fast as asked). Loop mode: 1 on, 0 off. */
DataPlayerHandle* data_player_create(const char* meta_filename, int depth);
void data_player_destroy(DataPlayerHandle* player);
int data_player_play(DataPlayerHandle* player);
int data_player_pause(DataPlayerHandle* player);
int data_player_stop(DataPlayerHandle* player);
int data_player_set_state(DataPlayerHandle* player, unsigned int state);
int data_player_get_state(DataPlayerHandle* player, unsigned int* state);
int data_player_set_filter(DataPlayerHandle* player, uint32_t data_types);
int data_player_get_filter(DataPlayerHandle* player, uint32_t* data_types);
int data_player_set_position(DataPlayerHandle* player, int64_t position);
int data_player_get_position(DataPlayerHandle* player, int64_t* position);
int data_player_set_playback_rate(DataPlayerHandle* player, float rate);
int data_player_get_playback_rate(DataPlayerHandle* player, float* rate);
int data_player_set_loop_mode_enabled(DataPlayerHandle* player, int enabled);
int data_player_get_loop_mode_enabled(DataPlayerHandle* player, int* enabled);
int data_player_get_duration(DataPlayerHandle* player, int64_t* milliseconds);
int data_player_get_meta_filename(DataPlayerHandle* player, char* buffer, unsigned int max_length);

#ifdef __cplusplus
}
#endif

#endif
