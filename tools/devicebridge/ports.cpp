// devicebridge ports: the serial ports of this machine, as libserialport finds them.
#include "Tool.h"

#include <libserialport.h>

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct PortInfo {
    std::string name, description, transport;
    bool usb = false;
    int vendor_id = 0, product_id = 0;
    std::string manufacturer, product, serial_number;
};

std::string text_of(const char* text) {
    return text == nullptr ? "" : text;
}

std::vector<PortInfo> serial_ports() {
    sp_port** list = nullptr;
    const sp_return result = sp_list_ports(&list);
    if (result != SP_OK) {
        char* message = sp_last_error_message();
        const std::string text = result == SP_ERR_FAIL ? text_of(message) : "error " + std::to_string(result);
        sp_free_error_message(message);
        throw Failure("cannot list the serial ports: " + text);
    }
    std::vector<PortInfo> ports;
    for (sp_port** port = list; *port != nullptr; ++port) {
        PortInfo info;
        info.name = text_of(sp_get_port_name(*port));
        info.description = text_of(sp_get_port_description(*port));
        const sp_transport transport = sp_get_port_transport(*port);
        info.transport = transport == SP_TRANSPORT_USB         ? "usb"
                         : transport == SP_TRANSPORT_BLUETOOTH ? "bluetooth"
                                                               : "native";
        info.usb = transport == SP_TRANSPORT_USB &&
                   sp_get_port_usb_vid_pid(*port, &info.vendor_id, &info.product_id) == SP_OK;
        if (info.usb) {
            info.manufacturer = text_of(sp_get_port_usb_manufacturer(*port));
            info.product = text_of(sp_get_port_usb_product(*port));
            info.serial_number = text_of(sp_get_port_usb_serial(*port));
        }
        ports.push_back(info);
    }
    sp_free_port_list(list);
    return ports;
}

std::string usb_id(int id) {
    char text[8];
    std::snprintf(text, sizeof text, "%04x", id & 0xFFFF);
    return text;
}

void print_text(const std::vector<PortInfo>& ports) {
    if (ports.empty())
        std::cerr << "no serial ports found\n";
    for (const PortInfo& port : ports) {
        std::cout << port.name << "  " << port.transport;
        if (port.usb)
            std::cout << "  " << usb_id(port.vendor_id) << ":" << usb_id(port.product_id) << "  "
                      << (port.manufacturer.empty() ? "-" : port.manufacturer) << "  "
                      << (port.product.empty() ? "-" : port.product) << "  serial "
                      << (port.serial_number.empty() ? "-" : port.serial_number);
        else if (!port.description.empty())
            std::cout << "  " << port.description;
        std::cout << "\n";
    }
}

void print_json(const std::vector<PortInfo>& ports) {
    std::cout << "[";
    for (size_t i = 0; i < ports.size(); ++i) {
        const PortInfo& port = ports[i];
        std::cout << (i == 0 ? "\n" : ",\n") << "  {\"name\": " << json_string(port.name)
                  << ", \"transport\": " << json_string(port.transport)
                  << ", \"description\": " << json_string(port.description);
        if (port.usb)
            std::cout << ", \"vendor_id\": " << json_string(usb_id(port.vendor_id))
                      << ", \"product_id\": " << json_string(usb_id(port.product_id))
                      << ", \"manufacturer\": " << json_string(port.manufacturer)
                      << ", \"product\": " << json_string(port.product)
                      << ", \"serial_number\": " << json_string(port.serial_number);
        std::cout << "}";
    }
    std::cout << (ports.empty() ? "]\n" : "\n]\n");
}

} // namespace

Runner setup_ports(CLI::App& subcommand) {
    auto json = std::make_shared<bool>(false);
    subcommand.add_flag("--json", *json, "print a JSON array, one object per port");
    subcommand.footer(
        "One line per port: name, transport and, for USB ports, vendor:product id, manufacturer, "
        "product and serial number.");
    return [json] {
        const std::vector<PortInfo> ports = serial_ports();
        if (*json)
            print_json(ports);
        else
            print_text(ports);
        return 0;
    };
}

} // namespace tool
