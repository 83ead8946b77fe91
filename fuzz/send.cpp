// The messages that this device sends, with arbitrary texts of the platform in every place; and the process id line.
#include <algorithm>
#include <cctype>

#include "fuzz/host.h"
#include "qo1905.h"

namespace {

// Text that JSON and the platform's buffers leave as it is, whatever a shell would make of it.
bool arrives_as_it_is(const std::string &text) {
    constexpr std::size_t kBuffer = 128;
    return text.size() < kBuffer &&
           std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c - 1) < 0x7f; });
}

void expect_exact(const char *key, const std::string &text) {
    if (arrives_as_it_is(text)) {
        fuzz::expect_member(fuzz::last_message(), key, text);
    }
}

// Nothing but the platform's own texts is in the way of this report.
bool is_sent(const fuzz::Host &host) {
    const auto is_plain = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == ':'; };
    return std::all_of(host.controller_mac.begin(), host.controller_mac.end(), is_plain) &&
           std::all_of(host.base_mac.begin(), host.base_mac.end(), is_plain) && host.controller_mac.size() < 100 &&
           host.base_mac.size() < 100;
}

}  // namespace

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
    fuzz::host.role = "2";
    fuzz::answer_from_host();
    highLayerDataSend();
    if (is_sent(host)) {
        expect_exact("FWVersion", host.firmware_version);
        expect_exact("HostName", host.host_name);
        expect_exact("DeviceIP", host.address);
    }
    fuzz::host.role = "1";
    fuzz::answer_from_host();
    highLayerDataSend();
    fuzz::host.role = "2";
    fuzz::answer_from_host();
    const std::string command = R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": "02-57-00-00-00-01,x"})";
    higherLayerDataRcvHandle(command.c_str(), static_cast<int32_t>(command.size()));
    return 0;
}
