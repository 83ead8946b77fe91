#include "bench/host.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "module/platform/mapd_client.h"
#include "module/platform/mcfg.h"

int log_level = 0;

namespace bench {

Host host;

namespace {

unsigned long allocation_count = 0;

template <std::size_t N>
void fill(char (&field)[N], const char *text) {
    (void)std::snprintf(field, N, "%s", text);
}

int answer(char *buffer, int size, const char *text) {
    (void)std::snprintf(buffer, static_cast<std::size_t>(size), "%s", text);
    return 0;
}

}  // namespace

unsigned long allocations() { return allocation_count; }

void write_file(const char *path, const std::string &text) { std::ofstream(path, std::ios::binary) << text; }

std::string read_file(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace bench

using bench::host;

extern "C" {

void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);

void *__wrap_calloc(std::size_t count, std::size_t size) {
    ++bench::allocation_count;
    return __real_calloc(count, size);
}

void *__wrap_realloc(void *block, std::size_t size) {
    ++bench::allocation_count;
    return __real_realloc(block, size);
}

void lanmon_timer_event_add(qo1905_event *) {}

lanmon_l2_device *lanmon_db_L2Device_get() {
    auto *entry = static_cast<lanmon_l2_device *>(std::calloc(1, sizeof(lanmon_l2_device)));
    bench::fill(entry->AlMac, "02:0a:00:00:01:01");
    return entry;
}

int lanmon_db_is_subIntf(const sta_query_record *, char *, int) { return 0; }
int getEasyMeshStatus() { return 1; }
int EasyMeshGetDeviceRole(char *role, int size) { return bench::answer(role, size, host.role) == 0 ? 1 : 0; }
int getControllerMac(char *mac, int size) { return bench::answer(mac, size, "02:0a:00:00:00:01"); }
int getFWVersion(char *version, int size) { return bench::answer(version, size, "2.4.1"); }
int getHostName(char *name, int size) { return bench::answer(name, size, "agent"); }
int getDeviceIP(char *address, int size) { return bench::answer(address, size, "192.168.1.20"); }
int qoUtilIGetBaseMACwithColon(char *mac, int size) { return bench::answer(mac, size, "02:0a:00:00:01:01"); }
int configWlanEnable(int, int, const char *, const char *) { return 0; }

// One interface that is up.
int mcfgFeObjStructGetNext(uint32_t object_id, mcfg_instance *instance, void **object) {
    if (object_id != MCFG_WIFI_SSID || instance->index[0] > 0) {
        return 1;
    }
    auto *ssid = static_cast<mcfg_wifi_ssid *>(std::calloc(1, sizeof(mcfg_wifi_ssid)));
    ssid->Enable = 1;
    bench::fill(ssid->Status, "Up");
    bench::fill(ssid->Name, "ra0");
    bench::fill(ssid->MACAddress, "02:0a:00:00:06:00");
    instance->index[0] = 1;
    *object = ssid;
    return MCFG_SUCCESS;
}

int StaInfo(const char *, int station, sta_query_record *record) {
    if (static_cast<std::size_t>(station) > host.stations) {
        return 0;
    }
    (void)std::snprintf(record->MACAddress, sizeof(record->MACAddress), "02:57:00:00:00:%02x", station & 0xff);
    record->PhyRate = 866;
    return 1;
}

mapd_interface *mapd_interface_ctrl_open(const char *) { return nullptr; }
int mapd_interface_ctrl_attach(mapd_interface *) { return -1; }

int system(const char *) {
    ++host.commands;
    return 0;
}

FILE *popen(const char *, const char *) { return nullptr; }
int pclose(FILE *) { return 0; }
int usleep(useconds_t) { return 0; }
}
