#include "lab/host/mesh_link.h"

#include <malloc.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "lab/common/error.h"
#include "lab/common/unix_address.h"
#include "lab/host/device.h"
#include "lab/host/timer.h"
#include "module/platform/lanmon.h"

namespace lab {

namespace {

constexpr unsigned kUnitsPerTick = 20;

int connect_to_mesh(const std::string &path) {
    sockaddr_un mesh;
    if (!fill_unix_address(mesh, path)) {
        throw Error(path + ": too long for a socket's path");
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr *>(&mesh), sizeof(mesh)) != 0) {
        throw Error(path + ": no mesh answers: " + std::strerror(errno));
    }
    return fd;
}

long entries_in(const char *folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

// In KiB, or a count, as the kernel gives it.
long own_status(const std::string &key) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        if (word == key) {
            long value = 0;
            file >> value;
            return value;
        }
    }
    return 0;
}

}  // namespace

MeshLink::MeshLink(const std::string &path, Device &device) : fd_(connect_to_mesh(path)), device_(device) {
    std::string line;
    if (!read_line(line)) {
        throw Error(path + ": the mesh has gone");
    }
    device_.become(DeviceDescription::read(JsonValue::parse(line, path)));
    device_.on_switched([this](int instance, bool enabled) {
        send(nlohmann::json({{"instance", instance}, {"enable", enabled}}).dump());
    });
}

bool MeshLink::read_line(std::string &line) {
    std::size_t end = 0;
    while ((end = input_.find('\n')) == std::string::npos) {
        char chunk[65536];
        const ssize_t size = recv(fd_, chunk, sizeof(chunk), 0);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size <= 0) {
            return false;
        }
        input_.append(chunk, static_cast<std::size_t>(size));
    }
    line = input_.substr(0, end);
    input_.erase(0, end + 1);
    return true;
}

void MeshLink::send(const std::string &line) {
    const std::lock_guard guard(sending_);
    const std::string text = line + '\n';
    (void)::send(fd_, text.data(), text.size(), MSG_NOSIGNAL);
}

void MeshLink::run(const std::function<void()> &after_call) {
    next_call_ = registered_event()->first_delay;
    send(R"({"ready": true})");
    for (std::string line; read_line(line);) {
        try {
            obey(line, after_call);
        } catch (const std::exception &error) {
            std::cerr << "host: refused what the mesh said: " << error.what() << '\n';  // and stays what it was
        }
    }
}

void MeshLink::obey(const std::string &line, const std::function<void()> &after_call) {
    const JsonValue order = JsonValue::parse(line, "the mesh");
    if (!order.has("tick")) {
        device_.become(DeviceDescription::read(order));
        return;
    }
    const int cycle = order.at("tick").integer(0, INT_MAX);
    call_if_due(after_call);
    const struct mallinfo2 heap = mallinfo2();
    send(nlohmann::json({{"cycle", cycle},
                         {"resident_kb", own_status("VmRSS:")},
                         {"heap_bytes", heap.uordblks + heap.hblkhd},
                         {"descriptors", entries_in("/proc/self/fd")},
                         {"threads", own_status("Threads:")}})
             .dump());
}

// A tick is a cycle's worth of units.
void MeshLink::call_if_due(const std::function<void()> &after_call) {
    units_ += kUnitsPerTick;
    if (units_ >= next_call_) {
        next_call_ = units_ + registered_event()->interval;
        registered_event()->handler();
        after_call();
    }
}

}  // namespace lab
