#include "tests/support/fake_host.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>

#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "module/platform/mcfg.h"

int log_level = 0;

namespace fake {

// None of these is ever destroyed: threads of the module outlive main.
Host &host = *new Host;
int32_t (*cycle_handler)() = nullptr;

namespace {

auto &host_lock = *new std::recursive_mutex;
auto &record_lock = *new std::mutex;
auto &recorded = *new std::condition_variable;
auto &record_of_calls = *new std::vector<std::string>;

using Guard = std::lock_guard<std::recursive_mutex>;

// The C library's own function behind one of the fakes.
template <class Function>
Function *real(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

int fill(const char *name, char *buffer, int size, const Text &text) {
    record(std::string(name) + " " + std::to_string(size));
    const Guard guard(host_lock);
    if (!text) {
        return -1;
    }
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s", text->c_str());
    return 0;
}

// Fills the field to the brim, without a zero byte, where the text is as long.
template <std::size_t N>
void fill_field(char (&field)[N], const std::string &text) {
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

// Not through malloc or calloc, which a test may have failing.
template <class T>
T *zeroed() {
    constexpr std::size_t kAlignment = alignof(max_align_t);
    auto *block =
        static_cast<T *>(std::aligned_alloc(kAlignment, (sizeof(T) + kAlignment - 1) / kAlignment * kAlignment));
    std::memset(block, 0, sizeof(T));
    return block;
}

std::set<std::FILE *> &canned_pipes() {
    static auto &pipes = *new std::set<std::FILE *>;
    return pipes;
}

std::FILE *canned_pipe(const std::string &text) {
    std::FILE *file = std::tmpfile();
    std::fputs(text.c_str(), file);
    std::rewind(file);
    canned_pipes().insert(file);
    return file;
}

bool is_canned(std::FILE *file) { return canned_pipes().erase(file) == 1; }

// Counts the calls of the one that a test has failing.
bool fails(const char *call, int error) {
    const Guard guard(host_lock);
    if (host.failing_number == 0 || host.failing_call != call || --host.failing_number != 0) {
        return false;
    }
    errno = error;
    return true;
}

// A thread's failures at the lock without a success between; -1 on threads that are not counted.
thread_local int failures_in_a_row = -1;
std::atomic<int> drops{0};

void count_lock_attempt(bool won) {
    constexpr int kAttempts = 11;
    if (failures_in_a_row < 0) {
        return;
    }
    failures_in_a_row = won ? 0 : failures_in_a_row + 1;
    if (failures_in_a_row == kAttempts) {
        failures_in_a_row = 0;
        ++drops;
    }
}

}  // namespace

void count_dropped_reports_here() { failures_in_a_row = 0; }

int dropped_reports() { return drops; }

void reset() {
    const Guard guard(host_lock);
    host = Host();
    log_level = 0;
    const std::lock_guard other(record_lock);
    record_of_calls.clear();
}

void record(const std::string &call) {
    {
        const std::lock_guard guard(record_lock);
        if (host.keeps_record) {
            record_of_calls.push_back(call);
        }
    }
    recorded.notify_all();
}

std::vector<std::string> calls() {
    const std::lock_guard guard(record_lock);
    return record_of_calls;
}

std::vector<std::string> commands() {
    const std::string system = "system ";
    std::vector<std::string> found;
    for (const std::string &call : calls()) {
        if (call.rfind(system, 0) == 0) {
            found.push_back(call.substr(system.size()));
        }
    }
    return found;
}

int count(const std::string &call) {
    const auto all = calls();
    return static_cast<int>(std::count(all.begin(), all.end(), call));
}

bool wait_for(const std::string &call, int times) {
    std::unique_lock guard(record_lock);
    return recorded.wait_for(guard, std::chrono::seconds(10),
                             [&] { return std::count(record_of_calls.begin(), record_of_calls.end(), call) >= times; });
}

void change(void (*what)(Host &)) {
    const Guard guard(host_lock);
    what(host);
}

}  // namespace fake

using fake::host;
using fake::host_lock;
using fake::record;

extern "C" {

// ---- platform ----

void lanmon_timer_event_add(qo1905_event *event) {
    record("lanmon_timer_event_add " + std::to_string(event->event_id) + " " + std::to_string(event->interval) + " " +
           std::to_string(event->first_delay) + " " + (event->handler == fake::cycle_handler ? "cycle" : "other") +
           " " + (event->argument == nullptr ? "0" : "argument"));
    event->event_id = 42;
    static qo1905_event *kept = nullptr;
    std::free(kept);
    kept = event;
}

lanmon_l2_device *lanmon_db_L2Device_get() {
    record("lanmon_db_L2Device_get");
    lanmon_l2_device *head = nullptr;
    for (auto mac = host.known_devices.rbegin(); mac != host.known_devices.rend(); ++mac) {
        auto *entry = fake::zeroed<lanmon_l2_device>();
        fake::fill_field(entry->AlMac, *mac);
        entry->next = head;
        head = entry;
    }
    return head;
}

int lanmon_db_is_subIntf(const sta_query_record *station, char *mac, int size) {
    for (const auto &[name, stations] : host.stations) {
        for (const fake::Station &entry : stations) {
            if (entry.mesh_al_mac && entry.mac == station->MACAddress) {
                std::snprintf(mac, static_cast<std::size_t>(size), "%s", entry.mesh_al_mac->c_str());
                record("lanmon_db_is_subIntf " + std::to_string(size));
                return host.sub_interface_result;
            }
        }
    }
    return 0;
}

int getEasyMeshStatus() { return host.easymesh_status; }

int EasyMeshGetDeviceRole(char *role, int size) {
    const fake::Guard guard(host_lock);
    std::snprintf(role, static_cast<std::size_t>(size), "%s", host.role.c_str());
    record("EasyMeshGetDeviceRole " + std::to_string(size));
    return host.role_result;
}

int getControllerMac(char *mac, int size) { return fake::fill("getControllerMac", mac, size, host.controller_mac); }
int getFWVersion(char *text, int size) { return fake::fill("getFWVersion", text, size, host.firmware_version); }
int getHostName(char *text, int size) { return fake::fill("getHostName", text, size, host.host_name); }
int getDeviceIP(char *text, int size) { return fake::fill("getDeviceIP", text, size, host.address); }
int qoUtilIGetBaseMACwithColon(char *mac, int size) {
    return fake::fill("qoUtilIGetBaseMACwithColon", mac, size, host.base_mac);
}

// index[1] and index[2] count how far the walk is; the module must pass it on untouched, and zero at the start.
int mcfgFeObjStructGetNext(uint32_t object_id, mcfg_instance *place, void **object) {
    const fake::Guard guard(host_lock);
    const std::size_t at = place->index[1] + 256U * place->index[2];
    place->index[1] = static_cast<uint8_t>(at + 1);
    place->index[2] = static_cast<uint8_t>((at + 1) / 256);
    if (object_id == MCFG_WIFI_SSID && at < host.ssids.size()) {
        const fake::Ssid &ssid = host.ssids[at];
        auto *copy = fake::zeroed<mcfg_wifi_ssid>();
        copy->Enable = ssid.enable;
        fake::fill_field(copy->Status, ssid.status);
        fake::fill_field(copy->Name, ssid.name);
        fake::fill_field(copy->MACAddress, ssid.mac);
        fake::fill_field(copy->BSSID, ssid.bssid);
        place->index[0] = static_cast<uint8_t>(ssid.instance);
        *object = copy;
        return MCFG_SUCCESS;
    }
    if (object_id == MCFG_ETHERNET_LINK && at < host.links.size()) {
        auto *copy = fake::zeroed<mcfg_ethernet_link>();
        fake::fill_field(copy->Status, host.links[at].status);
        fake::fill_field(copy->LowerLayers, host.links[at].lower_layers);
        fake::fill_field(copy->MACAddress, host.links[at].mac);
        *object = copy;
        return MCFG_SUCCESS;
    }
    return 1;
}

int StaInfo(const char *ifname, int station, sta_query_record *entry) {
    record("StaInfo " + std::string(ifname) + " " + std::to_string(station));
    const auto found = host.stations.find(ifname);
    if (found == host.stations.end() || static_cast<std::size_t>(station) > found->second.size()) {
        return 0;
    }
    const fake::Station &answer = found->second[static_cast<std::size_t>(station) - 1];
    record("StaInfo finds " + std::string(entry->MACAddress));
    if (!answer.mac.empty()) {
        std::snprintf(entry->MACAddress, sizeof(entry->MACAddress), "%s", answer.mac.c_str());
        entry->PhyRate = answer.rate;
    }
    return host.station_result;
}

int configWlanEnable(int instance, int enable, const char *dat_path, const char *prefix) {
    record("configWlanEnable " + std::to_string(instance) + " " + std::to_string(enable) + " " + dat_path + " " +
           prefix);
    return 0;
}

// ---- C library ----

int system(const char *command) {
    const bool real_shell = host.real_shell;
    if (std::string(command) == "mapd_cli /tmp/mapd_ctrl dump_topology_v1" && host.dump && !real_shell) {
        std::ofstream("/tmp/dump.txt", std::ios::binary) << *host.dump;
    }
    if (host.on_command != nullptr) {
        host.on_command();
    }
    if (fake::fails("system", EAGAIN)) {
        return -1;
    }
    const int result = real_shell ? fake::real<int(const char *)>("system")(command) : 0;
    record(std::string("system ") + command);
    return result;
}

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    if ((flags & O_ACCMODE) == O_WRONLY) {
        const bool like_w = (flags & ~(O_CLOEXEC | O_NONBLOCK)) == (O_WRONLY | O_CREAT | O_TRUNC) && mode == 0666;
        record(std::string("open ") + path + (like_w ? " w" : " in another mode"));
    }
    if (fake::fails("open", EMFILE)) {
        return -1;
    }
    return fake::real<int(const char *, int, ...)>("open")(path, flags, mode);
}

ssize_t write(int fd, const void *data, size_t size) {
    if (fd > STDERR_FILENO) {
        record("write " + std::to_string(size));
        if (fake::fails("write", ENOSPC)) {
            return -1;
        }
    }
    return fake::real<ssize_t(int, const void *, size_t)>("write")(fd, data, size);
}

FILE *popen(const char *command, const char *mode) {
    record(std::string("popen ") + command);
    if (fake::fails("popen", ENOMEM)) {
        return nullptr;
    }
    if (host.real_shell) {
        return fake::real<FILE *(const char *, const char *)>("popen")(command, mode);
    }
    const auto found = host.pipes.find(command);
    if (found == host.pipes.end()) {
        return fake::canned_pipe("");
    }
    return found->second ? fake::canned_pipe(*found->second) : nullptr;
}

int pclose(FILE *pipe) {
    record("pclose");
    return fake::is_canned(pipe) ? std::fclose(pipe) : fake::real<int(FILE *)>("pclose")(pipe);
}

time_t time(time_t *out) {
    if (out != nullptr) {
        *out = host.now;
    }
    return host.now;
}

int usleep(useconds_t microseconds) {
    record("usleep " + std::to_string(microseconds));
    if (host.on_pause != nullptr) {
        host.on_pause();
    }
    return 0;
}

// A thousand times faster, so that loops that sleep neither spin nor wait.
unsigned sleep(unsigned seconds) {
    record("sleep " + std::to_string(seconds));
    const timespec pause = {0, static_cast<long>(seconds) * 1000000};
    fake::real<int(const timespec *, timespec *)>("nanosleep")(&pause, nullptr);
    return 0;
}

int nanosleep(const timespec *time, timespec *left) {
    record("nanosleep");
    return fake::real<int(const timespec *, timespec *)>("nanosleep")(time, left);
}

int pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes) noexcept {
    record("pthread_mutex_init");
    return fake::real<int(pthread_mutex_t *, const pthread_mutexattr_t *)>("pthread_mutex_init")(mutex, attributes);
}

int pthread_mutex_trylock(pthread_mutex_t *mutex) noexcept {
    {
        const fake::Guard guard(host_lock);
        if (host.on_lock_try != nullptr) {
            void (*const hook)() = host.on_lock_try;
            host.on_lock_try = nullptr;
            hook();
        }
        if (host.lock_failures > 0) {
            --host.lock_failures;
            return EBUSY;
        }
    }
    const int result = fake::real<int(pthread_mutex_t *)>("pthread_mutex_trylock")(mutex);
    fake::count_lock_attempt(result == 0);
    return result;
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                   void *argument) noexcept {
    record("pthread_create");
    if (host.thread_creation_fails) {
        return EAGAIN;
    }
    return fake::real<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>("pthread_create")(
        thread, attributes, start, argument);
}

int select(int count, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
    char text[32];
    std::snprintf(text, sizeof(text), "select %ld.%06ld", static_cast<long>(timeout->tv_sec),
                  static_cast<long>(timeout->tv_usec));
    const int result = fake::fails("select", ENOMEM) ? -1
                                                     : fake::real<int(int, fd_set *, fd_set *, fd_set *, timeval *)>(
                                                           "select")(count, readable, writable, exceptional, timeout);
    record(text);
    return result;
}

ssize_t recv(int fd, void *buffer, size_t size, int flags) {
    int error = 0;
    {
        const fake::Guard guard(host_lock);
        if (!host.receive_errors.empty()) {
            error = host.receive_errors.front();
            host.receive_errors.erase(host.receive_errors.begin());
        }
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return fake::real<ssize_t(int, void *, size_t, int)>("recv")(fd, buffer, size, flags);
}
}
