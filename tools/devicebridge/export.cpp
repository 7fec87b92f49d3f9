// devicebridge export: a recording as one CSV file per data type, binary records decoded into columns.
//
// Each file is written under a ".part" name and takes its final name only when complete, so that a failed
// export leaves nothing that looks whole.
#include "DataReader.h"
#include "MetaFileSummary.h"
#include "RecordDecoder.h"
#include "Tool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>

namespace tool {

namespace {

const char* const part_extension = ".part";

struct Options {
    std::string meta_file, directory, types;
};

class CsvFile {
public:
    CsvFile(const std::string& directory, Tervik::DataType type)
        : path_(directory + "/" + type_name(type) + ".csv"), timed_(!Tervik::is_text_data_type(type)),
          file_(path_ + part_extension, std::ios::binary | std::ios::trunc) {
        if (!file_)
            throw Failure("cannot write " + path_ + part_extension + ": " + std::strerror(errno));
        Row header = columns_of(type);
        if (timed_)
            header.insert(header.begin(), {"time", "ms_from_start"});
        write(header);
    }
    ~CsvFile() {
        if (!finished_) {
            file_.close();
            std::remove((path_ + part_extension).c_str());
        }
    }
    void write_rows(const std::vector<Row>& rows, int64_t epoch, int64_t start) {
        for (Row row : rows) {
            if (timed_)
                row.insert(row.begin(), {iso_time(epoch), std::to_string(epoch - start)});
            write(row);
            ++rows_;
        }
    }
    void finish() {
        file_.close();
        if (file_.fail() || std::rename((path_ + part_extension).c_str(), path_.c_str()) != 0)
            throw Failure("cannot complete " + path_ + ": " + std::strerror(errno));
        finished_ = true;
    }
    const std::string& path() const { return path_; }
    uint64_t rows() const { return rows_; }

private:
    void write(const Row& row) {
        for (size_t i = 0; i < row.size(); ++i)
            file_ << (i == 0 ? "" : ",") << csv_field(row[i]);
        file_ << "\n";
        if (!file_)
            throw Failure("cannot write " + path_ + part_extension + ": " + std::strerror(errno));
    }

    std::string path_;
    bool timed_;
    std::ofstream file_;
    uint64_t rows_ = 0;
    bool finished_ = false;
};

void check_directory(const std::string& directory) {
    struct stat status;
    if (stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        throw Failure("output directory " + directory + " does not exist");
    if (access(directory.c_str(), W_OK | X_OK) != 0)
        throw Failure("output directory " + directory + " is not writable: " + std::strerror(errno));
}

int run(const Options& options) {
    const Tervik::DataTypes types = types_by_list(options.types);
    check_directory(options.directory);
    LibraryOutput library(false);
    Tervik::DataReader reader;
    open_reader(reader, options.meta_file);
    reader.set_filter(options.types.empty() ? 0xFFFFFFFF : types);
    const int64_t start = reader.get_start_epoch();
    std::map<Tervik::DataType, std::unique_ptr<CsvFile>> files;
    uint64_t malformed = 0, user_headers = 0;
    std::vector<Row> rows;
    while (!reader.at_end()) {
        const Tervik::DataRecord record = reader.read_record();
        if (!record.is_valid)
            throw Failure("a record of " + options.meta_file +
                          " can't be read; its data file is damaged or gone");
        if (record.is_user_header) {
            ++user_headers;
            continue;
        }
        const Tervik::DataType type = static_cast<Tervik::DataType>(record.data_type);
        std::unique_ptr<CsvFile>& file = files[type];
        if (!file)
            file.reset(new CsvFile(options.directory, type));
        rows.clear();
        if (decode_record(type, record.data, &rows) == Decoded::malformed)
            ++malformed;
        file->write_rows(rows, record.epoch, start);
    }
    for (auto& each : files) {
        each.second->finish();
        library.out() << each.second->path() << "  " << each.second->rows() << " rows\n";
    }
    if (malformed > 0)
        std::cerr << "devicebridge export: " << malformed << " malformed records skipped\n";
    if (user_headers > 0)
        std::cerr << "devicebridge export: " << user_headers << " user headers left out\n";
    return 0;
}

} // namespace

Runner setup_export(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    add_meta_file_argument(subcommand, options->meta_file);
    subcommand.add_option("OUTDIR", options->directory, "existing directory for the CSV files")->required();
    subcommand.add_option("--types", options->types, "comma separated data types to export (default: all)");
    subcommand.footer(
        "Writes TYPE.csv for each data type, with a header row. Binary types are decoded into "
        "columns, preceded by the time of the write and the milliseconds from the start: baseband "
        "a row per bin (frame, bin, range, I and Q or amplitude and phase), pulse-Doppler and "
        "noise maps a row per frequency. Text types keep their own fields, their time stamp "
        "among them. Malformed records are counted and skipped; user headers are left out.");
    return [options] { return run(*options); };
}

} // namespace tool
