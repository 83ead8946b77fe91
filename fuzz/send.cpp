// The messages that this device sends, with arbitrary texts of the platform in every place; and the process id line.
#include "fuzz/host.h"
#include "model/qo1905.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // The texts stand one behind the other, each ended by a byte 0xff.
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    fuzz::Host host;
    for (std::string *text :
         {&host.firmware_version, &host.host_name, &host.address, &host.interface_name, &host.process_id_line,
          &host.controller_mac, &host.base_mac, &host.bssid, &host.station_mac, &host.known_device}) {
        const std::size_t end = rest.find('\xff');
        if (end == std::string_view::npos) {
            break;
        }
        *text = rest.substr(0, end);
        rest.remove_prefix(end + 1);
    }
    fuzz::host = host;
    for (const char *role : {"2", "1"}) {
        fuzz::host.role = role;
        highLayerDataSend();
    }
    fuzz::host.role = "2";
    const std::string command = R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": "02-57-00-00-00-01,x"})";
    higherLayerDataRcvHandle(command.c_str(), static_cast<int32_t>(command.size()));
    return 0;
}
