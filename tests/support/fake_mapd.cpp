#include "tests/support/fake_mapd.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "module/platform/mapd_client.h"
#include "tests/support/fake_host.h"

namespace fake {
namespace {

// Never destroyed: the module's thread outlives main.
std::mutex &lock = *new std::mutex;
int opens_to_fail = 0;
int attaches_to_fail = 0;
bool unusable = false;
constexpr int kNotSpoiled = -2;
int spoiled = kNotSpoiled;
int test_end = -1;
bool attached = false;
auto &connections = *new std::vector<std::unique_ptr<mapd_interface>>;

bool take_failure(int &failures) {
    const std::lock_guard guard(lock);
    if (failures == 0) {
        return false;
    }
    --failures;
    return true;
}

// A descriptor beyond what an fd_set holds.
int raise_descriptor(int fd) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    const int raised = fcntl(fd, F_DUPFD, FD_SETSIZE);
    close(fd);
    return raised;
}

}  // namespace

void fail_opens(int times) {
    const std::lock_guard guard(lock);
    opens_to_fail = times;
}

void fail_attaches(int times) {
    const std::lock_guard guard(lock);
    attaches_to_fail = times;
}

void give_unusable_descriptor() {
    const std::lock_guard guard(lock);
    unusable = true;
}

void spoil_descriptor_at_attach(int fd) {
    const std::lock_guard guard(lock);
    spoiled = fd;
}

bool is_attached() {
    const std::lock_guard guard(lock);
    return attached;
}

void send_datagram(const std::string &bytes) {
    const std::lock_guard guard(lock);
    (void)send(test_end, bytes.data(), bytes.size(), 0);
}

std::string event(int32_t id, int32_t length, const std::string &bytes) {
    std::string datagram(8, '\0');
    std::memcpy(datagram.data(), &id, sizeof(id));
    std::memcpy(datagram.data() + 4, &length, sizeof(length));
    return datagram + bytes;
}

}  // namespace fake

extern "C" {

mapd_interface *mapd_interface_ctrl_open(const char *path) {
    mapd_interface *opened = nullptr;
    if (!fake::take_failure(fake::opens_to_fail)) {
        const std::lock_guard guard(fake::lock);
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_DGRAM, 0, ends) == 0) {
            if (fake::test_end >= 0) {
                close(fake::test_end);
            }
            fake::test_end = ends[0];
            fake::connections.push_back(std::make_unique<mapd_interface>());
            opened = fake::connections.back().get();
            opened->fd = fake::unusable ? fake::raise_descriptor(ends[1]) : ends[1];
            fake::unusable = false;
        }
    }
    fake::record(std::string("mapd_interface_ctrl_open ") + path);
    return opened;
}

int mapd_interface_ctrl_attach(mapd_interface *connection) {
    const bool fails = fake::take_failure(fake::attaches_to_fail);
    {
        const std::lock_guard guard(fake::lock);
        if (fake::spoiled != fake::kNotSpoiled) {
            connection->fd = fake::spoiled;
            fake::spoiled = fake::kNotSpoiled;
        }
    }
    fake::record("mapd_interface_ctrl_attach");
    const std::lock_guard guard(fake::lock);
    fake::attached = !fails;
    return fails ? -1 : 0;
}
}
