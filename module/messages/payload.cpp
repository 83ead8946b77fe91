// Interprets one higher-layer data payload, a JSON text that another device sent: an order to reboot in any role, an
// Agent's report on the Controller, a command on an Agent. Receiver thread; never waits for the timer thread.

#include "module/base/config_walk.h"
#include "module/base/diag.h"
#include "module/base/json.h"
#include "module/base/mac.h"
#include "module/base/owned.h"
#include "module/base/paths.h"
#include "module/base/shell.h"
#include "module/base/text.h"
#include "module/messages/commands.h"
#include "module/messages/role.h"
#include "module/model/band.h"
#include "module/model/high_layer_table.h"
#include "module/model/list.h"
#include "module/model/update_lock.h"
#include "module/platform/helpers.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "higherLayerDataRcvHandle";
constexpr int kStoreLockLimit = 10;

// ---- Controller: store a report ----

qo1905_report *new_report(json_object *payload) {
    auto *report = record_new<qo1905_report>();
    if (report == nullptr) {
        std::printf("tmpEcnt1905Table = NULL !!\n");
        return nullptr;
    }
    parse_mac(json_text(payload, "SrcAlMac"), report->agentAlMac);
    report->enableReboot = 1;
    report->enableIntfPwrCtrl = 1;
    report->AP_autoconfig = 1;
    fill_field(report->firmwareversion, json_text(payload, "FWVersion"));
    fill_field(report->hostname, json_text(payload, "HostName"));
    fill_field(report->deviceIP, json_text(payload, "DeviceIP"));
    return report;
}

// Stations without a MAC or without a rate are left out. False without memory.
bool add_clients(qo1905_report &report, const JsonItems &stations) {
    ListTail<qo1905_client> tail(report.clientList);
    for (json_object *station : stations) {
        auto *client = record_new<qo1905_client>();
        if (client == nullptr) {
            std::printf("tmpEcntWifiInfoTable = NULL !!\n");
            return false;
        }
        const char *mac = json_text(station, "STAMac");
        const int rate = json_number(station, "PhyRate");
        if (mac == nullptr || rate == 0) {
            std::free(client);
            continue;
        }
        parse_mac(mac, client->Mac);
        client->phyRate = static_cast<std::uint16_t>(rate);
        tail.append(client);
    }
    return true;
}

void trace_report(const qo1905_report &report) {
    if (!tracing()) {
        return;
    }
    trace("%s: This is number %d struct:\n", kName, 1);
    trace("%s: agentAlMac = %s\n", kName, MacText(report.agentAlMac, MacForm::kFull).c_str());
    trace("%s: enableReboot= %d\n", kName, report.enableReboot);
    trace("%s: enableIntfPwrCtrl= %d\n", kName, report.enableIntfPwrCtrl);
    trace("%s: AP_autoconfig= %d\n", kName, report.AP_autoconfig);
    trace("%s: firmwareversion= %.*s\n", kName, QO1905_FIELD_ARGS(report.firmwareversion));
    trace("%s: hostname= %.*s\n", kName, QO1905_FIELD_ARGS(report.hostname));
    trace("%s: deviceIP= %.*s\n", kName, QO1905_FIELD_ARGS(report.deviceIP));
    for (const qo1905_client &client : ListNodes(report.clientList)) {
        trace("%s: client info %s, phyRate = %d\n", kName, MacText(client.Mac, MacForm::kFull).c_str(), client.phyRate);
    }
}

int store_report_locked(json_object *payload) QO1905_REQUIRES(update_lock) {
    qo1905_report *report = new_report(payload);
    if (report == nullptr) {
        return QO1905_FAILURE;
    }
    if (!has_reports()) {
        trace("%s: High layer table was cleared due to Main table already update!\n", kName);
    }
    if (!add_clients(*report, json_items(payload, "STAInfo"))) {
        report_free(report);
        return QO1905_FAILURE;
    }
    append_report(report);
    trace_report(*report);
    return QO1905_SUCCESS;
}

int store_report(json_object *payload, std::int32_t length) {
    if (length < 1) {
        return QO1905_SUCCESS;
    }
    int failures = 0;
    if (!update_lock.try_acquire(kStoreLockLimit, failures)) {
        return QO1905_SUCCESS;  // the report is dropped: the next one comes with the Agent's next cycle
    }
    const int result = store_report_locked(payload);
    update_lock.release();
    if (result == QO1905_SUCCESS && failures == kStoreLockLimit) {
        std::printf("%s: try lock timeout. Lost lock.\n", kName);
    }
    return result;
}

// ---- Agent: execute a command ----

// The instances of the configuration object stand for the interfaces of 2.4 GHz, then those of 5 GHz.
void switch_interface(int instance, bool enable) {
    constexpr int kPerBand = kInterfacesPerBand;
    if (instance < 1 || instance > 2 * kPerBand) {
        return;
    }
    const Band &band = instance > kPerBand ? kBand5G : kBand24G;
    configWlanEnable(instance, enable ? 1 : 0, band.dat_file, band.prefix);
}

void apply_enable(const mcfg_wifi_ssid &ssid, int instance, bool enable) {
    const bool differs = enable ? ssid.Enable != 1 : ssid.Enable != 0;
    if (!differs) {
        return;
    }
    trace("%s: %s %.*s\n", kName, enable ? "Enable" : "Disable", QO1905_FIELD_ARGS(ssid.Name));
    switch_interface(instance, enable);
}

enum FilterMode { kFilterAdd = 0, kFilterRemove = 1 };

// A token as long as the command's buffer fills it whatever follows, so nothing longer needs to be held.
using Token = BoundedText<kBlockCommandSize>;

void apply_filter(const Token &station, int mode, const mcfg_wifi_ssid &ssid) {
    BlockCommand command;
    if (!build_block_command(command, mode == kFilterAdd, station.view(), field_text(ssid.BSSID))) {
        std::printf("%s: block_acl not run, station or interface is not plain text\n", kName);
        return;
    }
    run_command(command.c_str());
    trace("%s: exec cmd = %s\n", kName, command.c_str());
}

// The next token of a list, with ":" for "-"; false at the end. Empty tokens do not count.
bool next_token(const char *&list, Token &token) {
    token.clear();
    while (*list == ',') {
        ++list;
    }
    for (; *list != '\0' && *list != ','; ++list) {
        const char c = *list == '-' ? ':' : *list;
        token.append(c);
    }
    return token.length() > 0;
}

void apply_filters(const char *list, int mode, const mcfg_wifi_ssid &ssid) {
    if (list == nullptr || (mode != kFilterAdd && mode != kFilterRemove)) {
        return;
    }
    Token token;
    while (next_token(list, token)) {
        apply_filter(token, mode, ssid);
    }
}

// A payload's name that merely begins with the object's name is meant for that object, too.
bool names_interface(const char *name, const mcfg_wifi_ssid &ssid) {
    const Text own = field_text(ssid.Name);
    return std::strncmp(name, own.data(), own.size()) == 0;
}

void execute_command(json_object *payload) {
    const char *name = json_text(payload, "Interface");
    if (name == nullptr) {
        return;
    }
    const char *enable = json_text(payload, "Enable");
    ConfigWalk<mcfg_wifi_ssid> walk(MCFG_WIFI_SSID);
    while (const auto ssid = walk.next()) {
        if (names_interface(name, *ssid)) {
            apply_enable(*ssid, walk.instance(), enable == nullptr || std::strncmp(enable, "false", 5) != 0);
            apply_filters(json_text(payload, "FilterLists"), json_number(payload, "FilterMode"), *ssid);
            return;
        }
    }
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t higherLayerDataRcvHandle(const char *payload, int32_t length) {
    trace("Enter %s\n", kName);
    if (payload == nullptr || length == 0) {
        return QO1905_SUCCESS;
    }
    const JsonTree tree = json_parse(payload);
    if (json_text(tree.get(), "SrcAlMac") == nullptr) {
        std::printf("%s: Error, SrcAlMac == NULL !!\n", kName);
    }
    if (json_number(tree.get(), "Reboot") == 1) {
        run_command(kRebootCommand);
        std::printf("%s: device to reboot !!\n", kName);
        return QO1905_SUCCESS;
    }
    char role[8] = {};
    EasyMeshGetDeviceRole(role, sizeof(role));
    trace("%s: device_role = %.*s\n", kName, QO1905_FIELD_ARGS(role));
    if (field_is(role, kController)) {
        return store_report(tree.get(), length);
    }
    if (field_is(role, kAgent)) {
        execute_command(tree.get());
    }
    return QO1905_SUCCESS;
}
