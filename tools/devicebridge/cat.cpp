// devicebridge cat: a recording's records, one line each, in the order they were recorded.
#include "DataReader.h"
#include "MetaFileSummary.h"
#include "RecordDecoder.h"
#include "Tool.h"

#include <iostream>
#include <limits>
#include <memory>

namespace tool {

namespace {

struct Options {
    std::string meta_file;
    std::string types;
    int64_t from = 0;
    int64_t to = std::numeric_limits<int64_t>::max();
};

int run(const Options& options) {
    const Tervik::DataTypes types = types_by_list(options.types);
    if (options.from < 0 || options.to < options.from)
        throw Failure("--from and --to must satisfy 0 <= FROM <= TO");
    LibraryOutput library(false);
    std::ostream& out = library.out();
    Tervik::DataReader reader;
    open_reader(reader, options.meta_file);
    if (reader.set_filter(options.types.empty() ? 0xFFFFFFFF : types) != 0)
        throw Failure("the reader refuses the data types " + options.types);
    if (options.from > 0 && reader.seek_ms(options.from) != 0)
        throw Failure("--from " + std::to_string(options.from) + " lies beyond the recording's " +
                      std::to_string(reader.get_duration()) + " ms");
    const int64_t start = reader.get_start_epoch();
    while (!reader.at_end()) {
        const Tervik::DataRecord record = reader.read_record();
        if (!record.is_valid)
            throw Failure("a record of " + options.meta_file +
                          " can't be read; its data file is damaged or gone");
        const int64_t ms = record.epoch - start;
        if (ms > options.to)
            break;
        const Tervik::DataType type = static_cast<Tervik::DataType>(record.data_type);
        out << iso_time(record.epoch) << "  " << ms << "  " << type_name(type) << "  " << record.data.size()
            << "  "
            << (record.is_user_header ? "user header: " + hex_bytes(record.data, 16)
                                      : summary_of(type, record.data))
            << "\n";
        if (!out)
            return 1; // the reader of our output has gone, as `| head` does
    }
    return 0;
}

} // namespace

Runner setup_cat(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    add_meta_file_argument(subcommand, options->meta_file);
    subcommand.add_option("--types", options->types, "comma separated data types to show (default: all)");
    subcommand.add_option("--from", options->from, "first millisecond from the recording's start");
    subcommand.add_option("--to", options->to, "last millisecond from the recording's start");
    subcommand.footer(
        "One line per record: the time of the write (ISO, UTC), milliseconds from the start, the "
        "data type, the size in bytes, and the text of a text record or the gist of a binary "
        "one.");
    return [options] { return run(*options); };
}

} // namespace tool
