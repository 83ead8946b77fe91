/* The public header as a C host includes it, and the layout that hosts rely on: order of the fields, sizes of the
 * texts, widths of the integers. Compiled as C99 and as C++17. */
#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "module/platform/mapd_client.h"
#include "module/platform/mcfg.h"
#include "qo1905.h"

#include <stddef.h>
#include <stdio.h>

static int failures = 0;

static void check(int holds, const char *what) {
    if (!holds) {
        (void)printf("wrong: %s\n", what);
        ++failures;
    }
}

#define SIZE(record, field) sizeof(((struct record *)0)->field)
#define CHECK_SIZE(record, field, size) check(SIZE(record, field) == (size), #record "." #field " is " #size " bytes")
#define CHECK_ORDER(record, before, behind) \
    check(offsetof(struct record, before) < offsetof(struct record, behind), #record ": " #before " before " #behind)
#define CHECK_FIRST(record) check(offsetof(struct record, next) == 0, #record " begins with next")

static void check_device_info(void) {
    CHECK_SIZE(qo1905_device_info, EnableReboot, 1);
    CHECK_SIZE(qo1905_device_info, EnableInterfacePowerControl, 1);
    CHECK_SIZE(qo1905_device_info, FirmwareVersion, 128);
    CHECK_SIZE(qo1905_device_info, Newfirmwareversion, 128);
    CHECK_SIZE(qo1905_device_info, Newfirmwaredate, 128);
    CHECK_SIZE(qo1905_device_info, Newfirmware, 1);
    CHECK_SIZE(qo1905_device_info, NewfirmwareUpgradeState, 1);
    CHECK_SIZE(qo1905_device_info, Ap_autoconfig, 1);
    CHECK_SIZE(qo1905_device_info, DeviceType, 1);
    CHECK_SIZE(qo1905_device_info, SendSearchMsg, 1);
    CHECK_SIZE(qo1905_device_info, SendResponseMsg, 1);
    CHECK_SIZE(qo1905_device_info, Hostname, 128);
    CHECK_SIZE(qo1905_device_info, DeviceIP, 128);
    CHECK_SIZE(qo1905_device_info, DeviceMode, 32);
    CHECK_SIZE(qo1905_device_info, ReleaseVersion, 32);
    CHECK_SIZE(qo1905_device_info, ReleaseVersionOverride, 32);
    CHECK_SIZE(qo1905_device_info, LEDstatus, 32);
    CHECK_SIZE(qo1905_device_info, Version, 32);
    CHECK_SIZE(qo1905_device_info, L2DeviveCtrl, 32);
    CHECK_SIZE(qo1905_device_info, WiFiAutoCfg, 32);
    CHECK_SIZE(qo1905_device_info, WiFiOnOff, 32);
    CHECK_SIZE(qo1905_device_info, FwUpgrade, 32);
    CHECK_SIZE(qo1905_device_info, LEDOnOff, 32);
    CHECK_SIZE(qo1905_device_info, Channel24G, 16);
    CHECK_SIZE(qo1905_device_info, Channel5G, 16);
    CHECK_SIZE(qo1905_device_info, ChannelReserved, 16);
    CHECK_SIZE(qo1905_device_info, ResetAfterDistribution, 1);
    /* Bytes and texts only: the block has no holes, so its order is its offsets. */
    check(offsetof(struct qo1905_device_info, EnableInterfacePowerControl) == 1, "EnableInterfacePowerControl");
    check(offsetof(struct qo1905_device_info, FirmwareVersion) == 2, "FirmwareVersion");
    check(offsetof(struct qo1905_device_info, Newfirmware) == 386, "Newfirmware");
    check(offsetof(struct qo1905_device_info, DeviceType) == 389, "DeviceType");
    check(offsetof(struct qo1905_device_info, Hostname) == 392, "Hostname");
    check(offsetof(struct qo1905_device_info, DeviceMode) == 648, "DeviceMode");
    check(offsetof(struct qo1905_device_info, LEDstatus) == 744, "LEDstatus");
    check(offsetof(struct qo1905_device_info, LEDOnOff) == 936, "LEDOnOff");
    check(offsetof(struct qo1905_device_info, Channel5G) == 984, "Channel5G");
    check(offsetof(struct qo1905_device_info, ResetAfterDistribution) == 1016, "ResetAfterDistribution");
    check(sizeof(struct qo1905_device_info) == 1017, "the device information block is 1017 bytes");
}

static void check_al(void) {
    CHECK_SIZE(qo1905_al_table, IEEE1905Id, 6);
    CHECK_SIZE(qo1905_al_table, OUI, 3);
    CHECK_SIZE(qo1905_al_table, InformationLength, 4);
    CHECK_SIZE(qo1905_al_table, Status, 4);
    CHECK_SIZE(qo1905_al_table, LastChangeTime, 4);
    CHECK_SIZE(qo1905_al_table, InterfaceNumberOfEntries, 1);
    check(offsetof(struct qo1905_al_table, IEEE1905Id) == 0, "the AL begins with its id");
    CHECK_ORDER(qo1905_al_table, IEEE1905Id, OUI);
    CHECK_ORDER(qo1905_al_table, OUI, InformationLength);
    CHECK_ORDER(qo1905_al_table, InformationLength, Information);
    CHECK_ORDER(qo1905_al_table, Information, Info);
    CHECK_ORDER(qo1905_al_table, Info, Status);
    CHECK_ORDER(qo1905_al_table, Status, LastChangeTime);
    CHECK_ORDER(qo1905_al_table, LastChangeTime, InterfaceNumberOfEntries);
    CHECK_ORDER(qo1905_al_table, InterfaceNumberOfEntries, Interface);
    CHECK_ORDER(qo1905_al_table, Interface, Reserved);
    CHECK_ORDER(qo1905_al_table, Reserved, Security);
    CHECK_ORDER(qo1905_al_table, Security, ReservedList);
    CHECK_ORDER(qo1905_al_table, ReservedList, NetworkTopology);

    CHECK_FIRST(qo1905_al_interface);
    CHECK_SIZE(qo1905_al_interface, InterfaceId, 6);
    CHECK_SIZE(qo1905_al_interface, PowerState, 4);
    CHECK_SIZE(qo1905_al_interface, Status, 4);
    CHECK_SIZE(qo1905_al_interface, LastChangeTime, 4);
    CHECK_SIZE(qo1905_al_interface, MediaType, 4);
    CHECK_SIZE(qo1905_al_interface, ReservedByte, 1);
    CHECK_SIZE(qo1905_al_interface, OUI, 3);
    CHECK_SIZE(qo1905_al_interface, InformationLength, 4);
    CHECK_SIZE(qo1905_al_interface, ReservedWords, 6);
    CHECK_SIZE(qo1905_al_interface, LinkNumberOfEntries, 2);
    CHECK_ORDER(qo1905_al_interface, InterfaceId, PowerState);
    CHECK_ORDER(qo1905_al_interface, PowerState, Status);
    CHECK_ORDER(qo1905_al_interface, Status, LastChangeTime);
    CHECK_ORDER(qo1905_al_interface, LastChangeTime, MediaType);
    CHECK_ORDER(qo1905_al_interface, MediaType, ReservedByte);
    CHECK_ORDER(qo1905_al_interface, ReservedByte, ReservedBuffer);
    CHECK_ORDER(qo1905_al_interface, ReservedBuffer, OUI);
    CHECK_ORDER(qo1905_al_interface, OUI, InformationLength);
    CHECK_ORDER(qo1905_al_interface, InformationLength, Information);
    CHECK_ORDER(qo1905_al_interface, Information, ReservedWords);
    CHECK_ORDER(qo1905_al_interface, ReservedWords, Reserved);
    CHECK_ORDER(qo1905_al_interface, Reserved, ReservedPointer);
    CHECK_ORDER(qo1905_al_interface, ReservedPointer, LinkNumberOfEntries);
    CHECK_ORDER(qo1905_al_interface, LinkNumberOfEntries, Link);

    CHECK_SIZE(qo1905_security, SetupMethod, 4);
    CHECK_ORDER(qo1905_security, SetupMethod, Password);
}

static void check_network_topology(void) {
    CHECK_SIZE(qo1905_network_topology, Enable, 4);
    CHECK_SIZE(qo1905_network_topology, Status, 4);
    CHECK_SIZE(qo1905_network_topology, MaxChangeLogEntries, 2);
    CHECK_SIZE(qo1905_network_topology, ChangeLogNumberOfEntries, 2);
    CHECK_SIZE(qo1905_network_topology, LastChange, 2);
    CHECK_SIZE(qo1905_network_topology, IEEE1905DeviceNumberOfEntries, 2);
    CHECK_ORDER(qo1905_network_topology, Enable, Status);
    CHECK_ORDER(qo1905_network_topology, Status, MaxChangeLogEntries);
    CHECK_ORDER(qo1905_network_topology, MaxChangeLogEntries, ChangeLogNumberOfEntries);
    CHECK_ORDER(qo1905_network_topology, ChangeLogNumberOfEntries, LastChange);
    CHECK_ORDER(qo1905_network_topology, LastChange, ChangeLog);
    CHECK_ORDER(qo1905_network_topology, ChangeLog, IEEE1905DeviceNumberOfEntries);
    CHECK_ORDER(qo1905_network_topology, IEEE1905DeviceNumberOfEntries, IEEE1905Device);
    check(SIZE(qo1905_network_topology, ChangeLog) == 256 * sizeof(struct qo1905_change_log_entry), "256 log entries");

    CHECK_SIZE(qo1905_change_log_entry, TimeStamp, 4);
    CHECK_SIZE(qo1905_change_log_entry, EventType, 4);
    CHECK_SIZE(qo1905_change_log_entry, ReporterDeviceId, 6);
    CHECK_SIZE(qo1905_change_log_entry, ReporterInterfaceId, 6);
    CHECK_SIZE(qo1905_change_log_entry, NeighborType, 4);
    CHECK_SIZE(qo1905_change_log_entry, NeighborId, 6);
    CHECK_ORDER(qo1905_change_log_entry, TimeStamp, EventType);
    CHECK_ORDER(qo1905_change_log_entry, EventType, ReporterDeviceId);
    CHECK_ORDER(qo1905_change_log_entry, ReporterDeviceId, ReporterInterfaceId);
    CHECK_ORDER(qo1905_change_log_entry, ReporterInterfaceId, NeighborType);
    CHECK_ORDER(qo1905_change_log_entry, NeighborType, NeighborId);
}

static void check_device(void) {
    CHECK_FIRST(qo1905_device);
    CHECK_SIZE(qo1905_device, IEEE1905Id, 6);
    check(offsetof(struct qo1905_device, Info) == sizeof(void *) + 6, "the block follows the id at once");
    CHECK_SIZE(qo1905_device, InterfaceNumberOfEntries, 1);
    CHECK_SIZE(qo1905_device, NonIEEE1905NeighborNumberOfEntries, 2);
    CHECK_SIZE(qo1905_device, IEEE1905NeighborNumberOfEntries, 2);
    CHECK_SIZE(qo1905_device, BridgingTupleNumberOfEntries, 2);
    CHECK_SIZE(qo1905_device, Ap_autoconfig_2_4G, 1);
    CHECK_SIZE(qo1905_device, Ap_autoconfig_5G, 1);
    CHECK_SIZE(qo1905_device, STAInfoNumberOfEntries, 2);
    CHECK_ORDER(qo1905_device, Info, InterfaceNumberOfEntries);
    CHECK_ORDER(qo1905_device, InterfaceNumberOfEntries, Interface);
    CHECK_ORDER(qo1905_device, Interface, NonIEEE1905NeighborNumberOfEntries);
    CHECK_ORDER(qo1905_device, NonIEEE1905NeighborNumberOfEntries, NonIEEE1905Neighbor);
    CHECK_ORDER(qo1905_device, NonIEEE1905Neighbor, IEEE1905NeighborNumberOfEntries);
    CHECK_ORDER(qo1905_device, IEEE1905NeighborNumberOfEntries, IEEE1905Neighbor);
    CHECK_ORDER(qo1905_device, IEEE1905Neighbor, BridgingTupleNumberOfEntries);
    CHECK_ORDER(qo1905_device, BridgingTupleNumberOfEntries, BridgingTuple);
    CHECK_ORDER(qo1905_device, BridgingTuple, Ap_autoconfig_2_4G);
    CHECK_ORDER(qo1905_device, Ap_autoconfig_2_4G, Ap_autoconfig_5G);
    CHECK_ORDER(qo1905_device, Ap_autoconfig_5G, STAInfoNumberOfEntries);
    CHECK_ORDER(qo1905_device, STAInfoNumberOfEntries, STAInfo);

    CHECK_FIRST(qo1905_device_interface);
    CHECK_SIZE(qo1905_device_interface, InterfaceId, 6);
    CHECK_SIZE(qo1905_device_interface, MediaType, 4);
    CHECK_SIZE(qo1905_device_interface, ReservedWord, 4);
    CHECK_SIZE(qo1905_device_interface, PowerState, 4);
    CHECK_ORDER(qo1905_device_interface, InterfaceId, MediaType);
    CHECK_ORDER(qo1905_device_interface, MediaType, ReservedWord);
    CHECK_ORDER(qo1905_device_interface, ReservedWord, ReservedBuffer);
    CHECK_ORDER(qo1905_device_interface, ReservedBuffer, PowerState);
}

static void check_neighbours(void) {
    CHECK_FIRST(qo1905_non1905_group);
    CHECK_SIZE(qo1905_non1905_group, LocalInterface, 6);
    CHECK_SIZE(qo1905_non1905_group, Name, 10);
    CHECK_SIZE(qo1905_non1905_group, Count, 1);
    CHECK_ORDER(qo1905_non1905_group, LocalInterface, Name);
    CHECK_ORDER(qo1905_non1905_group, Name, Count);
    CHECK_ORDER(qo1905_non1905_group, Count, Neighbor);
    CHECK_FIRST(qo1905_non1905_neighbor);
    CHECK_SIZE(qo1905_non1905_neighbor, NeighborInterfaceId, 6);
    CHECK_FIRST(qo1905_1905_group);
    CHECK_SIZE(qo1905_1905_group, LocalInterface, 6);
    CHECK_SIZE(qo1905_1905_group, Count, 1);
    CHECK_FIRST(qo1905_1905_neighbor);
    CHECK_SIZE(qo1905_1905_neighbor, NeighborDeviceId, 6);
    CHECK_SIZE(qo1905_1905_neighbor, IEEE802dot1Bridge, 4);
    CHECK_FIRST(qo1905_bridging_tuple);
    CHECK_SIZE(qo1905_bridging_tuple, Count, 2);
    CHECK_ORDER(qo1905_bridging_tuple, Count, InterfaceList);

    CHECK_FIRST(qo1905_sta_info);
    CHECK_SIZE(qo1905_sta_info, STAMac, 6);
    CHECK_SIZE(qo1905_sta_info, MediaType, 4);
    CHECK_SIZE(qo1905_sta_info, PhyRate, 2);
    CHECK_SIZE(qo1905_sta_info, RSSI, 2);
    CHECK_SIZE(qo1905_sta_info, SignalLevel, 2);
    CHECK_SIZE(qo1905_sta_info, Tx, 32);
    CHECK_SIZE(qo1905_sta_info, Rx, 32);
    CHECK_SIZE(qo1905_sta_info, ReservedWord, 4);
    CHECK_ORDER(qo1905_sta_info, STAMac, MediaType);
    CHECK_ORDER(qo1905_sta_info, MediaType, PhyRate);
    CHECK_ORDER(qo1905_sta_info, PhyRate, RSSI);
    CHECK_ORDER(qo1905_sta_info, RSSI, SignalLevel);
    CHECK_ORDER(qo1905_sta_info, SignalLevel, Tx);
    CHECK_ORDER(qo1905_sta_info, Tx, Rx);
    CHECK_ORDER(qo1905_sta_info, Rx, ReservedWord);
}

static void check_reports(void) {
    CHECK_FIRST(qo1905_report);
    CHECK_SIZE(qo1905_report, agentAlMac, 6);
    CHECK_SIZE(qo1905_report, enableReboot, 1);
    CHECK_SIZE(qo1905_report, enableIntfPwrCtrl, 1);
    CHECK_SIZE(qo1905_report, firmwareversion, 128);
    CHECK_SIZE(qo1905_report, Newfirmwareversion, 128);
    CHECK_SIZE(qo1905_report, Newfirmwaredate, 128);
    CHECK_SIZE(qo1905_report, Newfirmware, 1);
    CHECK_SIZE(qo1905_report, NewfirmwareUpgradeState, 1);
    CHECK_SIZE(qo1905_report, AP_autoconfig, 1);
    CHECK_SIZE(qo1905_report, hostname, 128);
    CHECK_SIZE(qo1905_report, deviceIP, 128);
    CHECK_SIZE(qo1905_report, DeviceMode, 32);
    check(offsetof(struct qo1905_report, firmwareversion) == sizeof(void *) + 8, "firmwareversion");
    check(offsetof(struct qo1905_report, Newfirmware) == sizeof(void *) + 392, "Newfirmware");
    check(offsetof(struct qo1905_report, hostname) == sizeof(void *) + 395, "hostname");
    check(offsetof(struct qo1905_report, DeviceMode) == sizeof(void *) + 651, "DeviceMode of a report");
    CHECK_ORDER(qo1905_report, DeviceMode, clientList);
    CHECK_FIRST(qo1905_client);
    CHECK_SIZE(qo1905_client, Mac, 6);
    CHECK_SIZE(qo1905_client, phyRate, 2);
    CHECK_ORDER(qo1905_client, Mac, phyRate);
}

static void check_platform(void) {
    check(sizeof(struct sta_query_record) == 60, "a station query record is 60 bytes");
    check(offsetof(struct sta_query_record, PhyRate) == 36, "its rate stands at byte 36");
    check(sizeof(struct mcfg_instance) == 7, "an instance index is 7 bytes");
    check(offsetof(struct mapd_interface, fd) == 0, "a connection begins with its descriptor");
    check(offsetof(struct qo1905_event, interval) == 4 && offsetof(struct qo1905_event, first_delay) == 8,
          "timer event");
    CHECK_SIZE(qo1905_event, handler, sizeof(void *));
    CHECK_SIZE(qo1905_event, argument, sizeof(void *));
    check(sizeof(struct qo1905_intf_table) == 8 + sizeof(void *), "intfTable is three words");
}

/* Where a pointer has 32 bits, as on most gateways: every record to the byte. */
static void check_32_bit_sizes(void) {
    if (sizeof(void *) != 4) {
        return;
    }
    check(sizeof(struct qo1905_event) == 20, "a timer event is five words");
    check(sizeof(struct qo1905_intf_table) == 12, "intfTable is three words");
    check(sizeof(struct qo1905_link) == 4, "a link");
    check(sizeof(struct qo1905_al_interface) == 72, "an AL interface");
    check(sizeof(struct qo1905_reserved_list) == 8, "a reserved list");
    check(sizeof(struct qo1905_security) == 8, "security");
    check(sizeof(struct qo1905_device_interface) == 28, "a device interface");
    check(sizeof(struct qo1905_non1905_neighbor) == 12, "a non-1905 neighbour");
    check(sizeof(struct qo1905_non1905_group) == 28, "a non-1905 group");
    check(sizeof(struct qo1905_1905_neighbor) == 16, "a 1905 neighbour");
    check(sizeof(struct qo1905_1905_group) == 16, "a 1905 group");
    check(sizeof(struct qo1905_bridging_tuple) == 12, "a bridging tuple");
    check(sizeof(struct qo1905_sta_info) == 92, "a station");
    check(sizeof(struct qo1905_device) == 1064, "a device");
    check(sizeof(struct qo1905_change_log_entry) == 32, "a log entry");
    check(sizeof(struct qo1905_network_topology) == 8216, "the network");
    check(sizeof(struct qo1905_al_table) == 9300, "the root");
    check(sizeof(struct qo1905_client) == 12, "a client");
    check(sizeof(struct qo1905_report) == 692, "a report");
}

int main(void) {
    check_device_info();
    check_32_bit_sizes();
    check_al();
    check_network_topology();
    check_device();
    check_neighbours();
    check_reports();
    check_platform();
    (void)printf("%d wrong\n", failures);
    return failures == 0 ? 0 : 1;
}
