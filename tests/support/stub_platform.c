#include "tests/support/stub_platform.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "module/platform/mapd_client.h"
#include "module/platform/mcfg.h"

#define STUB __attribute__((weak))

int log_level STUB = 0;

struct stub_platform stub = {
    .role = "1",
    .controller_mac = "02:c0:00:00:00:01",
    .firmware_version = "1.0",
    .host_name = "agent",
    .address = "192.168.1.20",
    .base_mac = "02:0a:00:00:00:01",
    .interface_name = "rai0",
    .interfaces = 1,
    .bssid = "02:0a:00:00:06:00",
    .station_mac = NULL,
    .stations = 0,
    .known_device = NULL,
};

static int answer(char *buffer, int size, const char *text) {
    (void)snprintf(buffer, (size_t)size, "%s", text);
    return 0;
}

static void fill(char *field, size_t size, const char *text) { memcpy(field, text, strnlen(text, size)); }

/* ---- the platform ---- */

STUB void lanmon_timer_event_add(struct qo1905_event *event) { free(event); }

STUB struct lanmon_l2_device *lanmon_db_L2Device_get(void) {
    struct lanmon_l2_device *entry = stub.known_device != NULL ? calloc(1, sizeof(*entry)) : NULL;
    if (entry != NULL) {
        fill(entry->AlMac, sizeof(entry->AlMac), stub.known_device);
    }
    return entry;
}

STUB int lanmon_db_is_subIntf(const struct sta_query_record *station, char *mac, int size) {
    (void)station, (void)mac, (void)size;
    return 0;
}

STUB int getEasyMeshStatus(void) { return 1; }
STUB int EasyMeshGetDeviceRole(char *role, int size) { return answer(role, size, stub.role) == 0; }
STUB int getControllerMac(char *mac, int size) { return answer(mac, size, stub.controller_mac); }
STUB int getFWVersion(char *version, int size) { return answer(version, size, stub.firmware_version); }
STUB int getHostName(char *name, int size) { return answer(name, size, stub.host_name); }
STUB int getDeviceIP(char *address, int size) { return answer(address, size, stub.address); }
STUB int qoUtilIGetBaseMACwithColon(char *mac, int size) { return answer(mac, size, stub.base_mac); }

STUB int StaInfo(const char *ifname, int station, struct sta_query_record *record) {
    (void)ifname;
    if (station > stub.stations) {
        return 0;
    }
    if (stub.station_mac != NULL) {
        fill(record->MACAddress, sizeof(record->MACAddress), stub.station_mac);
    } else {
        (void)snprintf(record->MACAddress, sizeof(record->MACAddress), "02:57:00:00:00:%02x",
                       (unsigned)station & 0xffU);
    }
    record->PhyRate = 866;
    return 1;
}

STUB int configWlanEnable(int instance, int enable, const char *dat_path, const char *prefix) {
    (void)instance, (void)enable, (void)dat_path, (void)prefix;
    return 0;
}

STUB struct mapd_interface *mapd_interface_ctrl_open(const char *path) {
    (void)path;
    return NULL;
}

STUB int mapd_interface_ctrl_attach(struct mapd_interface *conn) {
    (void)conn;
    return -1;
}

STUB int mcfgFeObjStructGetNext(uint32_t object_id, struct mcfg_instance *instance, void **object) {
    const int number = instance->index[0];
    struct mcfg_wifi_ssid *ssid;
    if (object_id != MCFG_WIFI_SSID || number >= stub.interfaces) {
        return 1;
    }
    ssid = calloc(1, sizeof(*ssid));
    if (ssid == NULL) {
        return 1;
    }
    ssid->Enable = number;
    fill(ssid->Status, sizeof(ssid->Status), "Up");
    fill(ssid->Name, sizeof(ssid->Name), number == 0 ? "ra0" : stub.interface_name);
    fill(ssid->MACAddress, sizeof(ssid->MACAddress), stub.base_mac);
    fill(ssid->BSSID, sizeof(ssid->BSSID), stub.bssid);
    ++instance->index[0];
    *object = ssid;
    return MCFG_SUCCESS;
}

/* ---- the C library ---- */

STUB int system(const char *command) {
    (void)command;
    return 0;
}

STUB FILE *popen(const char *command, const char *mode) {
    (void)command, (void)mode;
    return NULL;
}

STUB int pclose(FILE *pipe) {
    (void)pipe;
    return 0;
}

STUB int usleep(useconds_t microseconds) {
    (void)microseconds;
    return 0;
}
