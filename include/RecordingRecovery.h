// Making a recording that a crash left behind readable again.
//
// A recording whose process died (a crash, a kill, a power loss) is left with a meta file
// "tervik_recording_meta.writing" in state 0 that DataReader refuses, its journal
// "tervik_recording_meta_tmp.writing", and data files whose names end in ".writing". recover_recording turns
// it into a closed recording, as the recorder's own close would have left it: the meta file's complete
// entries are kept, each data file is cut to the end of its last complete record and takes its final name,
// the meta file gets its close entries, its file map and its closing header, takes the name
// "tervik_recording_meta.dat", and the journal goes. A recording split over directories gets the link from
// its last closed directory to the recovered one, if the crash came before that link was made.
//
// Recovery never destroys what it cannot make sense of: a file it cannot read is reported and left as it
// is, a recording that is already closed is not touched, and a dry run only reports what would be done.
// Running it twice does nothing the second time.
#ifndef DEVICEBRIDGE_RECORDINGRECOVERY_H
#define DEVICEBRIDGE_RECORDINGRECOVERY_H

#include <cstdint>
#include <string>
#include <vector>

namespace Tervik {

// What was (or, in a dry run, would be) recovered of one data type, over all meta files recovered.
struct RecoveredRecords {
    uint32_t data_type = 0; // one DataType bit
    uint64_t records = 0;   // entries kept, user headers and the header lines of text files included
    uint64_t bytes = 0;
};

// Entries of the crashed meta files that could not be kept, by the reason.
struct DroppedEntries {
    std::string reason;
    uint64_t entries = 0;
};

struct RecoveryReport {
    // The directory or meta file given, and whether this was a dry run.
    std::string target;
    bool dry_run = false;
    // The closed meta files that were made (or would be), in the order of the recording.
    std::vector<std::string> recovered_meta_files;
    // Each change to the disk, in the order made: "renamed A to B", "truncated A from N to M bytes", ...;
    // in a dry run the same lines with "would " in front.
    std::vector<std::string> actions;
    // What could not be read or recovered, each naming the file, which was left as it is.
    std::vector<std::string> problems;
    // By data type, in the order of the bits; types with nothing kept are absent.
    std::vector<RecoveredRecords> recovered;
    std::vector<DroppedEntries> dropped;

    // Nothing was left by a crash: no meta file needed recovering and nothing was found wrong.
    bool nothing_to_recover() const { return recovered_meta_files.empty() && problems.empty(); }
    // 0 when everything found could be read and recovered, 1 when problems were reported.
    int status() const { return problems.empty() ? 0 : 1; }
    // The report as lines of text for a person: what was done, records and bytes by type, dropped entries
    // and why, and the problems; or "nothing to recover".
    std::string summary() const;
};

// Recovers every crashed recording at `directory_or_meta_file`: a meta file, or a directory searched three
// levels deep (an output directory, a session directory or one of its sub-directories). With `dry_run`
// nothing on disk changes.
RecoveryReport recover_recording(const std::string& directory_or_meta_file, bool dry_run = false);

} // namespace Tervik

#endif
