// The module's one thread of its own: waits for events of the multi-AP daemon and hands every higher-layer data payload
// to higherLayerDataRcvHandle. Lives as long as the process. What arrives here was written by other devices.

#include <fcntl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "module/base/diag.h"
#include "module/base/paths.h"
#include "module/platform/mapd_client.h"
#include "qo1905.h"

mapd_interface *ctrl_conn = nullptr;

namespace qo1905 {
namespace {

constexpr char kName[] = "higherLayerDataRcv";
constexpr unsigned kReconnectSeconds = 5;
constexpr unsigned kErrorPauseSeconds = 1;
constexpr useconds_t kEmptyPauseMicroseconds = 50000;
constexpr int kSelectSeconds = 3;
constexpr std::int32_t kHigherLayerData = 6;

// One event datagram. The byte behind the buffer is never received into: it ends a payload that fills the datagram.
class Event {
public:
    ssize_t receive(int fd) {
        std::memset(buffer_, 0, sizeof(buffer_));
        return recv(fd, buffer_, kSize, 0);
    }
    std::int32_t id() const { return word_at(0); }
    std::int32_t length() const { return word_at(4); }
    int protocol() const { return static_cast<unsigned char>(buffer_[8]); }
    const char *payload() const { return buffer_ + kPayloadAt; }

    // What the length field announces; it counts the protocol byte too. A stranger wrote it: it may be anything.
    std::int32_t payload_length() const { return static_cast<std::int32_t>(static_cast<std::uint32_t>(length()) - 1U); }
    std::size_t payload_bytes_in_buffer() const {
        const std::int32_t announced = std::max<std::int32_t>(payload_length(), 0);
        return std::min(static_cast<std::size_t>(announced), kSize - kPayloadAt);
    }
    int text_length() const { return static_cast<int>(strnlen(buffer_, kSize)); }

private:
    static constexpr std::size_t kSize = 1024;
    static constexpr std::size_t kPayloadAt = 9;

    std::int32_t word_at(std::size_t position) const {
        std::int32_t word = 0;
        std::memcpy(&word, buffer_ + position, sizeof(word));
        return word;
    }

    char buffer_[kSize + 1];
};

// Has the connection of now brought anything yet? One that is lost before it did is opened again only after a pause.
bool connection_delivered = false;

// The connection's descriptor, read afresh each time as its record is the client library's; -1 for none, or for one
// that select cannot hold.
int connection_descriptor() {
    const int fd = ctrl_conn != nullptr ? ctrl_conn->fd : -1;
    return fd < FD_SETSIZE ? fd : -1;
}

// A connection is given up by closing its descriptor; its record stays with the client library.
void give_up_connection() {
    if (ctrl_conn != nullptr && ctrl_conn->fd >= 0) {
        close(ctrl_conn->fd);
    }
    ctrl_conn = nullptr;
}

// 0, or -1 when there is no usable connection.
int open_connection() {
    ctrl_conn = mapd_interface_ctrl_open(kMapdSocket);
    const int fd = connection_descriptor();
    if (fd < 0) {
        give_up_connection();
        std::printf("mapd_interface_ctrl_open failed\n");
        return -1;
    }
    (void)fcntl(fd, F_SETFD, FD_CLOEXEC);  // not for the daemons that our commands start
    connection_delivered = false;
    return 0;
}

void connect_until_open() {
    while (open_connection() != 0) {
        std::printf("Can't connect to %s, sleep %us !!\n", kMapdSocket, kReconnectSeconds);
        sleep(kReconnectSeconds);
    }
}

bool attach() {
    if (mapd_interface_ctrl_attach(ctrl_conn) < 0) {
        std::printf("Can't attach to %s\n", kMapdSocket);
        return false;
    }
    return true;
}

bool is_connection_lost(int error) { return error == ECONNRESET || error == ECONNREFUSED || error == ENOTCONN; }

// The daemon is gone and will come back; it may answer an open before it answers an attach.
void reconnect() {
    if (!connection_delivered) {
        sleep(kReconnectSeconds);
    }
    give_up_connection();
    connect_until_open();
    while (!attach()) {
        give_up_connection();
        sleep(kReconnectSeconds);
        connect_until_open();
    }
}

// An error of select counts as readable: the receive then says what is wrong, or waits.
bool wait_readable(int fd) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval timeout = {kSelectSeconds, 0};
    (void)select(fd + 1, &readable, nullptr, nullptr, &timeout);
    return FD_ISSET(fd, &readable);
}

void handle_receive_error(int error) {
    std::printf("read error: %s\n", std::strerror(error));
    if (is_connection_lost(error)) {
        reconnect();
    } else {
        sleep(kErrorPauseSeconds);  // an error that stays must not flood the log
    }
}

void trace_higher_layer_data(const Event &event) {
    if (!tracing()) {
        return;
    }
    flockfile(stdout);
    std::printf("%s: Higher layer payload received!\n", kName);
    std::printf("%s: Rx data: Buffer Len:%d, protocol:%d \n", kName, event.length(), event.protocol());
    std::printf("%s: Payload: ", kName);
    (void)std::fwrite(event.payload(), 1, event.payload_bytes_in_buffer(), stdout);
    std::printf("\n");
    funlockfile(stdout);
}

void receive_event(int fd) {
    Event event;
    const ssize_t size = event.receive(fd);
    if (size < 0) {
        handle_receive_error(errno);
        return;
    }
    connection_delivered = true;
    trace("%s: event id = %d, strlen = %d\n", kName, event.id(), event.text_length());
    if (size == 0) {
        usleep(kEmptyPauseMicroseconds);  // nothing comes from a closed connection for ever
    }
    if (event.id() != kHigherLayerData) {
        return;
    }
    trace_higher_layer_data(event);
    higherLayerDataRcvHandle(event.payload(), event.payload_length());
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

void *higherLayerDataRcv(void *) {
    connect_until_open();
    if (!attach()) {
        return nullptr;  // a daemon that takes no listener at all; one that is lost later comes back
    }
    for (;;) {
        const int fd = connection_descriptor();
        if (fd < 0) {
            handle_receive_error(ENOTCONN);
        } else if (wait_readable(fd)) {
            receive_event(fd);
        }
    }
}
