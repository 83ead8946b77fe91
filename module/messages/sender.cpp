// What this device sends into the mesh in every cycle, through the multi-AP daemon's command-line client: an Agent its
// report to the Controller, the Controller the state of each of its Wi-Fi interfaces to every device it knows. The JSON
// is built the way it stands on the shell's command line, every double quote behind a backslash. Timer thread.

#include "module/base/config_walk.h"
#include "module/base/diag.h"
#include "module/base/mac.h"
#include "module/base/shell.h"
#include "module/messages/commands.h"
#include "module/messages/rest_server.h"
#include "module/messages/role.h"
#include "module/messages/stations.h"
#include "module/model/list.h"
#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "highLayerDataSend";
constexpr int kRoleRead = 1;
constexpr int kFailure = -1;
constexpr char kReportEnd[] = "]}";

using MacField = char[32];

// Fills a text buffer from one of the platform's sources; 0 is their success.
template <std::size_t N>
bool get_text(int (*source)(char *, int), char (&text)[N]) {
    std::memset(text, 0, N);
    const bool success = source(text, static_cast<int>(N)) == 0;
    text[N - 1] = '\0';
    return success;
}

bool get_source_mac(MacField &mac) {
    if (get_text(qoUtilIGetBaseMACwithColon, mac)) {
        return true;
    }
    std::printf("%s: qoUtilIGetBaseMACwithColon fail !!, sourceAlMac = %s\n", kName, "");
    return false;
}

// What an Agent tells of itself.
struct AgentValues {
    MacField controller_mac;
    char firmware_version[128];
    char host_name[128];
    char address[128];
    MacField source_mac;

    template <std::size_t N>
    static bool get(int (*source)(char *, int), char (&text)[N], const char *source_name) {
        if (get_text(source, text)) {
            return true;
        }
        std::printf("%s: %s fail !!\n", kName, source_name);
        return false;
    }

    bool gather() {
        return get(getControllerMac, controller_mac, "getControllerMac") &&
               get(getFWVersion, firmware_version, "getFWVersion") && get(getHostName, host_name, "gethostName") &&
               get(getDeviceIP, address, "getDeviceIP") && get_source_mac(source_mac);
    }
};

// A member with a text value; the first opens the object.
void append_member(SendPayload &payload, const char *key, Text value) {
    payload.append(payload.length() == 0 ? "{ \\\""sv : ", \\\""sv);
    payload.append(Text(key));
    payload.append("\\\": \\\""sv);
    append_quoted_json(payload, value);
    payload.append("\\\""sv);
}

// Stations up to the count, as long as they fit whole and the end of the report behind them.
void append_stations(SendPayload &payload, const qo1905_client *stations, int count, std::size_t limit) {
    int listed = 0;
    for (const qo1905_client &station : ListNodes(stations)) {
        char text[96];
        (void)std::snprintf(text, sizeof(text), "%s{ \\\"STAMac\\\": \\\"%s\\\", \\\"PhyRate\\\": %d}",
                            listed == 0 ? "" : ", ", MacText(station.Mac, MacForm::kShort).c_str(), station.phyRate);
        const Text element = field_text(text);
        if (listed == count || payload.length() + element.size() + Text(kReportEnd).size() > limit) {
            return;
        }
        payload.append(element);
        ++listed;
    }
}

void build_report(SendPayload &payload, const AgentValues &values) {
    append_member(payload, "SrcAlMac", values.source_mac);
    append_member(payload, "FWVersion", values.firmware_version);
    append_member(payload, "HostName", values.host_name);
    append_member(payload, "DeviceIP", values.address);
    payload.append(", \\\"STAInfo\\\": ["sv);
    qo1905_client *stations = nullptr;
    const int count = getStaPhyrateList(stations);
    append_stations(payload, stations, count, send_payload_limit(values.controller_mac));
    payload.append(kReportEnd);
    freeWifiClientTable(stations);
}

void tell_not_plain() { std::printf("%s: message not sent, a MAC is not plain text\n", kName); }

// Nothing is sent in the name of a MAC that is no plain text.
bool is_plain_source(Text mac) {
    const bool is_plain = bare_words(mac) >= 0;
    if (!is_plain) {
        tell_not_plain();
    }
    return is_plain;
}

// True when the command was run.
bool send(SendCommand &command, Text destination, const SendPayload &payload) {
    switch (build_send_command(command, destination, payload)) {
        case SendCommandResult::kNotPlain:
            tell_not_plain();
            return false;
        case SendCommandResult::kTooLong:
            std::printf("%s: message not sent, it is too long\n", kName);
            return false;
        case SendCommandResult::kBuilt:
            break;
    }
    run_command(command.c_str());
    return true;
}

int send_agent_report(int role_result) {
    if (!stop_rest_server()) {
        return role_result;
    }
    AgentValues values;
    if (!values.gather()) {
        return kFailure;
    }
    if (!is_plain_source(values.source_mac)) {
        return role_result;
    }
    SendPayload payload;
    build_report(payload, values);
    SendCommand command;
    if (send(command, values.controller_mac, payload)) {
        trace("%s: send cmd = %s\n", kName, command.c_str());
    }
    return role_result;
}

}  // namespace

template <>
inline constexpr NodeKind kNodeKind<lanmon_l2_device> = NodeKind::kPlain;

namespace {

// Known devices of the host, freed entry by entry at the end.
class KnownDevices {
public:
    KnownDevices() : head_(lanmon_db_L2Device_get()) {}
    ~KnownDevices() { free_list(head_); }
    KnownDevices(const KnownDevices &) = delete;
    KnownDevices &operator=(const KnownDevices &) = delete;
    bool empty() const { return head_ == nullptr; }
    ListNodes<const lanmon_l2_device> nodes() const { return ListNodes<const lanmon_l2_device>(head_); }

private:
    lanmon_l2_device *head_;
};

void build_enable_message(SendPayload &payload, Text source, const mcfg_wifi_ssid &ssid) {
    payload.clear();
    append_member(payload, "SrcAlMac", source);
    append_member(payload, "Interface", field_text(ssid.Name));
    append_member(payload, "Enable", ssid.Enable == 1 ? "true"sv : "false"sv);
    payload.append('}');
}

int send_enable_messages(int role_result) {
    if (!start_rest_server()) {
        return role_result;
    }
    MacField source;
    if (!get_source_mac(source)) {
        return kFailure;
    }
    const KnownDevices devices;
    if (devices.empty() || !is_plain_source(source)) {
        return role_result;
    }
    SendPayload payload;
    SendCommand command;
    ConfigWalk<mcfg_wifi_ssid> walk(MCFG_WIFI_SSID);
    while (const auto ssid = walk.next()) {
        build_enable_message(payload, source, *ssid);
        for (const lanmon_l2_device &device : devices.nodes()) {
            send(command, field_text(device.AlMac), payload);
        }
    }
    return role_result;
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t highLayerDataSend() {
    char role[8] = {};
    const int role_result = EasyMeshGetDeviceRole(role, sizeof(role));
    trace("%s: EasyMeshGetDeviceRole ret = %d, device_role = %.*s\n", kName, role_result, QO1905_FIELD_ARGS(role));
    if (role_result != kRoleRead) {
        return role_result;
    }
    if (field_is(role, kAgent)) {
        return send_agent_report(role_result);
    }
    if (field_is(role, kController)) {
        return send_enable_messages(role_result);
    }
    return role_result;
}
