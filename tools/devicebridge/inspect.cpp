// devicebridge inspect: what a recording holds and whether it is whole, meta file by meta file.
#include "MetaFileSummary.h"
#include "Tool.h"

#include <iomanip>
#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
    std::string meta_file;
    bool json = false;
};

std::string version_text(uint32_t version) {
    return std::to_string(version / 10) + "." + std::to_string(version % 10);
}

std::string types_text(uint32_t data_types) {
    std::string text;
    for (Tervik::DataType type : Tervik::data_types_in_mask(data_types))
        text += (text.empty() ? "" : ", ") + type_name(type);
    return text.empty() ? "none" : text;
}

void print_text(const MetaFileSummary& meta) {
    std::cout << "meta file: " << meta.path << "\n"
              << "  session id: " << meta.session_id << "\n"
              << "  version: " << version_text(meta.version)
              << "  state: " << (meta.is_closed() ? "closed" : "not closed") << "\n"
              << "  start: " << iso_time(meta.created) << "  duration: " << meta.duration << " ms\n"
              << "  bytes recorded: " << meta.bytes_recorded << "  max record size: " << meta.max_record_size
              << "  profile: " << (meta.profile_id == 0 ? "none" : profile_name(meta.profile_id)) << "\n"
              << "  data types: " << types_text(meta.data_types) << "\n"
              << "  records (" << meta.entries << " entries):\n";
    for (const auto& each : meta.types)
        std::cout << "    " << std::left << std::setw(28) << type_name(each.first) << std::right
                  << std::setw(10) << each.second.records << " records " << std::setw(12) << each.second.bytes
                  << " bytes"
                  << (each.second.user_headers > 0
                          ? "  (" + std::to_string(each.second.user_headers) + " user headers)"
                          : "")
                  << "\n";
    std::cout << "  files:\n";
    for (const DataFileSummary& file : meta.files)
        std::cout << "    " << (file.name.empty() ? "(unnamed)" : file.name) << "  "
                  << (file.size_on_disk < 0 ? std::string("missing")
                                            : std::to_string(file.size_on_disk) + " bytes")
                  << "\n";
    if (!meta.next_meta_file.empty())
        std::cout << "  next meta file: " << meta.next_meta_file << "\n";
    std::cout << "  health: " << (meta.problems.empty() ? "ok" : "damaged") << "\n";
    for (const std::string& problem : meta.problems)
        std::cout << "    - " << problem << "\n";
}

void print_json(const MetaFileSummary& meta, bool last) {
    std::cout << "    {\n      \"path\": " << json_string(meta.path)
              << ",\n      \"session_id\": " << json_string(meta.session_id)
              << ",\n      \"version\": " << meta.version
              << ",\n      \"closed\": " << (meta.is_closed() ? "true" : "false")
              << ",\n      \"start\": " << json_string(iso_time(meta.created))
              << ",\n      \"start_epoch_ms\": " << meta.created
              << ",\n      \"duration_ms\": " << meta.duration
              << ",\n      \"bytes_recorded\": " << meta.bytes_recorded
              << ",\n      \"max_record_size\": " << meta.max_record_size << ",\n      \"profile\": "
              << (meta.profile_id == 0 ? "null" : json_string(profile_name(meta.profile_id)))
              << ",\n      \"data_types\": [";
    const std::vector<Tervik::DataType> types = Tervik::data_types_in_mask(meta.data_types);
    for (size_t i = 0; i < types.size(); ++i)
        std::cout << (i == 0 ? "" : ", ") << json_string(type_name(types[i]));
    std::cout << "],\n      \"records\": {";
    bool first = true;
    for (const auto& each : meta.types) {
        std::cout << (first ? "" : ",") << "\n        " << json_string(type_name(each.first))
                  << ": {\"records\": " << each.second.records
                  << ", \"user_headers\": " << each.second.user_headers
                  << ", \"bytes\": " << each.second.bytes << "}";
        first = false;
    }
    std::cout << "},\n      \"files\": [";
    for (size_t i = 0; i < meta.files.size(); ++i)
        std::cout << (i == 0 ? "" : ",") << "\n        {\"name\": " << json_string(meta.files[i].name)
                  << ", \"size\": " << meta.files[i].size_on_disk
                  << ", \"expected_size\": " << meta.files[i].expected_size << "}";
    std::cout << "],\n      \"next_meta_file\": "
              << (meta.next_meta_file.empty() ? "null" : json_string(meta.next_meta_file))
              << ",\n      \"problems\": [";
    for (size_t i = 0; i < meta.problems.size(); ++i)
        std::cout << (i == 0 ? "" : ", ") << json_string(meta.problems[i]);
    std::cout << "]\n    }" << (last ? "\n" : ",\n");
}

int run(const Options& options) {
    const std::vector<MetaFileSummary> chain = summarize_chain(options.meta_file);
    bool healthy = true;
    for (const MetaFileSummary& meta : chain)
        healthy = healthy && meta.problems.empty();
    if (options.json) {
        std::cout << "{\n  \"healthy\": " << (healthy ? "true" : "false") << ",\n  \"meta_files\": [\n";
        for (size_t i = 0; i < chain.size(); ++i)
            print_json(chain[i], i + 1 == chain.size());
        std::cout << "  ]\n}\n";
        return 0;
    }
    for (const MetaFileSummary& meta : chain)
        print_text(meta);
    std::cout << "recording: " << (healthy ? "healthy" : "damaged") << ", " << chain.size() << " meta file"
              << (chain.size() == 1 ? "" : "s") << "\n";
    return 0;
}

} // namespace

Runner setup_inspect(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    add_meta_file_argument(subcommand, options->meta_file);
    subcommand.add_flag("--json", options->json, "print one JSON object");
    subcommand.footer(
        "For each meta file of the chain: its header, session, start and duration, the data "
        "types with their record counts and bytes, the data files with their sizes on disk, and "
        "a health verdict (closed or not, files missing, sizes that disagree with the entries). "
        "A meta file that was never closed is read too. Exit status 0 whenever the meta file "
        "could be read, healthy or not.");
    return [options] { return run(*options); };
}

} // namespace tool
