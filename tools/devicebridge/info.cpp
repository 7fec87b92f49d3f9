// devicebridge info: who a module is, asked through its application.
#include "RadarInterface.h"
#include "Tool.h"
#include "UniqueLocked.h"

#include "protocol_identifiers.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
    std::string address;
    bool json = false;
    int log_level = -1;
};

// One answer of the module, or why there was none.
struct Field {
    const char* key;
    const char* label;
    std::string value;
    bool answered = false;
};

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '\0'))
        text.pop_back();
    return text;
}

std::string hex32(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

std::vector<Field> ask(Tervik::DeviceBridge& bridge) {
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    std::vector<Field> fields;
    const auto field = [&fields](const char* key, const char* label,
                                 const std::function<std::string()>& question) {
        Field answer{key, label, "", false};
        try {
            answer.value = trimmed(question());
            answer.answered = true;
        } catch (const std::exception& failure) {
            answer.value = one_line(failure.what());
        }
        fields.push_back(answer);
    };
    field("firmware_id", "firmware id", [&] { return radar->get_firmware_id(); });
    field("firmware_version", "firmware version", [&] { return radar->get_firmware_version(); });
    field("serial_number", "serial number", [&] { return radar->get_serial_number(); });
    field("item_number", "item number", [&] { return radar->get_item_number(); });
    field("order_code", "order code", [&] { return radar->get_order_code(); });
    field("build_info", "build info", [&] { return radar->get_build_info(); });
    field("app_id_list", "app id list", [&] { return radar->get_app_id_list(); });
    field("profile", "profile", [&] {
        const uint32_t id = radar->get_profileid();
        return id == 0 ? std::string("none") : profile_name(id) + " (" + hex32(id) + ")";
    });
    return fields;
}

int run(const Options& options) {
    std::unique_ptr<Tervik::DeviceBridge> bridge = open_module(options.address, options.log_level);
    uint32_t pong = 0;
    try {
        pong = bridge->get_radar_interface()->ping();
    } catch (const std::exception& failure) {
        throw Failure("no module answers at " + options.address + ": " + one_line(failure.what()));
    }
    const std::string ping = hex32(pong) + (pong == KMS_DEF_PONGVAL_READY ? " (ready)" : " (not ready)");
    const std::vector<Field> fields = ask(*bridge);
    if (options.json) {
        std::cout << "{\n  \"address\": " << json_string(options.address) << ",\n  \"ping\": " << pong
                  << ",\n  \"ready\": " << (pong == KMS_DEF_PONGVAL_READY ? "true" : "false");
        for (const Field& field : fields)
            std::cout << ",\n  " << json_string(field.key) << ": "
                      << (field.answered ? json_string(field.value) : "null");
        std::cout << "\n}\n";
        return 0;
    }
    std::cout << "address: " << options.address << "\nping: " << ping << "\n";
    for (const Field& field : fields)
        std::cout << field.label << ": "
                  << (field.answered ? field.value : "(no answer: " + field.value + ")") << "\n";
    return 0;
}

} // namespace

Runner setup_info(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    subcommand.add_option("DEVICE", options->address, "serial device, or tcp://HOST:PORT")->required();
    subcommand.add_flag("--json", options->json, "print one JSON object");
    add_log_level_option(subcommand, options->log_level);
    subcommand.footer(
        "Pings the module, then asks for its firmware id and version, serial number, item number, "
        "order code, build info, app id list and loaded profile. A question the module doesn't "
        "answer is shown as such (null in JSON); a module that doesn't answer the ping is an "
        "error.");
    return [options] { return run(*options); };
}

} // namespace tool
