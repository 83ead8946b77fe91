// The receiver thread, on a real datagram socket. Each test starts it once; it lives until the test's process ends.
#include <sys/select.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <thread>

#include "tests/support/fake_mapd.h"
#include "tests/support/module_test.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

const char kOpen[] = "mapd_interface_ctrl_open /tmp/mapd_ctrl";
const char kAttach[] = "mapd_interface_ctrl_attach";
const char kHandled[] = "EasyMeshGetDeviceRole 8";  // every payload that is no reboot asks for the role
constexpr int32_t kHigherLayerData = 6;

int open_descriptors() {
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        (void)entry;
        ++count;
    }
    return count;
}

class ReceiverTest : public ModuleTest {
protected:
    ReceiverTest() { fake::host.role = "3"; }

    static void start() {
        std::thread([] { module().higherLayerDataRcv(nullptr); }).detach();
        ASSERT_TRUE(fake::wait_for(kAttach));
    }

    // An event with a true length.
    static std::string event(const std::string &payload, int32_t id = kHigherLayerData) {
        return fake::event(id, static_cast<int32_t>(payload.size()) + 1, "\x01" + payload);
    }

    // Sends a payload that the module answers with a reboot, and waits: all before it has been handled then.
    static void settle(int times = 1) {
        fake::send_datagram(event(R"({"SrcAlMac": "x", "Reboot": 1})"));
        ASSERT_TRUE(fake::wait_for("system reboot", times));
    }
};

TEST_F(ReceiverTest, WithoutADaemonItTriesForEverEveryFiveSeconds) {
    fake::fail_opens(7);
    const std::string printed = printed_by([&] { start(); });
    std::string expected;
    for (int i = 0; i < 7; ++i) {
        expected += "mapd_interface_ctrl_open failed\nCan't connect to /tmp/mapd_ctrl, sleep 5s !!\n";
    }
    EXPECT_EQ(printed, expected);
    EXPECT_EQ(fake::count("sleep 5"), 7);
    EXPECT_EQ(fake::count(kOpen), 8);
    settle();
}

TEST_F(ReceiverTest, AnotherEventIdCallsNoHandler) {
    start();
    for (const int32_t id : {0, 1, 5, 7, 60, -6, 0x06000000, INT_MAX, INT_MIN}) {
        fake::send_datagram(event(R"({"SrcAlMac": "x"})", id));
    }
    settle();
    EXPECT_EQ(fake::count(kHandled), 0);
}

TEST_F(ReceiverTest, ALengthOfOneCallsTheHandlerWithNothing) {
    log_level = 7;
    const std::string printed = printed_by([&] {
        start();
        fake::send_datagram(fake::event(kHigherLayerData, 1, "\x01"));
        settle();
    });
    EXPECT_THAT(printed, HasSubstr("higherLayerDataRcv: Rx data: Buffer Len:1, protocol:1 \n"
                                   "higherLayerDataRcv: Payload: \n"
                                   "Enter higherLayerDataRcvHandle\n"
                                   "higherLayerDataRcv: event id"));
    EXPECT_EQ(fake::count(kHandled), 0);
}

TEST_F(ReceiverTest, TracesOfAnEventAtLevel7) {
    log_level = 7;
    const std::string event = fake::event(kHigherLayerData, 17, "\x07{\"SrcAlMac\":\"x\"}");
    const std::string printed = printed_by([&] {
        start();
        fake::send_datagram(event);
        ASSERT_TRUE(fake::wait_for(kHandled));
        fake::send_datagram(fake::event(0x04030201, 0x08070605, "abc"));
        settle();
    });
    // Up to the first zero byte, which is the second of all, or on a big-endian machine the first.
    const char *length = event[0] == '\x06' ? "1" : "0";
    EXPECT_THAT(printed, HasSubstr("higherLayerDataRcv: event id = 6, strlen = " + std::string(length) +
                                   "\n"
                                   "higherLayerDataRcv: Higher layer payload received!\n"
                                   "higherLayerDataRcv: Rx data: Buffer Len:17, protocol:7 \n"
                                   "higherLayerDataRcv: Payload: {\"SrcAlMac\":\"x\"}\n"
                                   "Enter higherLayerDataRcvHandle\n"));
    EXPECT_THAT(printed, HasSubstr("higherLayerDataRcv: event id = 67305985, strlen = 11\n"));
}

TEST_F(ReceiverTest, LengthsThatAreNotTrueReadNothingBeyondTheBuffer) {
    log_level = 7;
    const std::string json = R"({"SrcAlMac": "x"})";
    const std::string printed = printed_by([&] {
        start();
        int sent = 0;
        for (const int32_t length : {2, 100, 1024, 100000, INT_MAX, -1, -100, INT_MIN}) {
            fake::send_datagram(fake::event(kHigherLayerData, length, "\x01" + json));
            ASSERT_TRUE(fake::wait_for(kHandled, ++sent)) << length;
        }
        fake::send_datagram(fake::event(kHigherLayerData, 0, "\x01" + json));
        ASSERT_TRUE(fake::wait_for(kHandled, ++sent));
        settle();
    });
    // The whole text is handled each time; the trace stops at the buffer's end.
    EXPECT_THAT(printed, HasSubstr("Payload: {\n"));
    EXPECT_THAT(printed, HasSubstr("Payload: " + json + std::string(1015 - json.size(), '\0') + "\n"));
    EXPECT_THAT(printed, HasSubstr("Buffer Len:-2147483648, protocol:1 \nhigherLayerDataRcv: Payload: "));
}

TEST_F(ReceiverTest, WhatAShortDatagramDoesNotHoldReadsAsZero) {
    start();
    for (const char *bytes : {"", "\x05", "\x06\x01\x01", "\x06\x02\x01\x01\x01"}) {
        fake::send_datagram(bytes);
    }
    settle();
    EXPECT_EQ(fake::count(kHandled), 0);
    // An id alone is a whole event: its length is 0, its payload an empty text.
    fake::send_datagram(fake::event(kHigherLayerData, 0, "").substr(0, 4));
    settle(2);
    EXPECT_EQ(fake::count(kHandled), 1);
}

TEST_F(ReceiverTest, ADatagramThatFillsTheBufferIsReadToItsEnd) {
    start();
    // 1,015 bytes of JSON in 1,024 bytes: the last brace is the last byte.
    const std::string head = R"({"SrcAlMac": "x", "Reboot": 1, "fill": ")";
    const std::string json = head + std::string(1015 - head.size() - 2, 'f') + "\"}";
    ASSERT_EQ(event(json).size(), 1024U);
    fake::send_datagram(event(json));
    EXPECT_TRUE(fake::wait_for("system reboot"));
    // Longer ones lose what is behind: no JSON any more.
    const std::string longer = head + std::string(2000, 'f') + "\"}";
    fake::send_datagram(event(longer));
    ASSERT_TRUE(fake::wait_for(kHandled));
    EXPECT_EQ(fake::count("system reboot"), 1);
}

TEST_F(ReceiverTest, NothingOfAnEventIsLeftInTheBufferForTheNext) {
    start();
    fake::send_datagram(event(R"({"SrcAlMac": "x",                   "Reboot": 1})"));
    ASSERT_TRUE(fake::wait_for("system reboot"));
    fake::send_datagram(event(R"({"SrcAlMac": "x", )"));
    ASSERT_TRUE(fake::wait_for(kHandled));
    EXPECT_EQ(fake::count("system reboot"), 1);
}

TEST_F(ReceiverTest, AReceiveErrorIsPrintedAndWaitedOut) {
    fake::host.receive_errors = {EIO, ENOMEM};
    const std::string printed = printed_by([&] {
        start();
        settle();
    });
    EXPECT_THAT(printed, HasSubstr("read error: Input/output error\nread error: Cannot allocate memory\n"));
    EXPECT_EQ(fake::count(kOpen), 1);
    EXPECT_EQ(fake::count("sleep 1"), 2);
}

TEST_F(ReceiverTest, ALostConnectionIsOpenedAgain) {
    for (const int error : {ECONNRESET, ECONNREFUSED, ENOTCONN}) {
        fake::host.receive_errors.push_back(error);
    }
    start();
    const int descriptors = open_descriptors();
    int opens = 1;
    for (const char *text : {"Connection reset by peer", "Connection refused", "Transport endpoint is not connected"}) {
        const std::string printed = printed_by([&] {
            fake::send_datagram("x");
            ASSERT_TRUE(fake::wait_for(kAttach, ++opens));
        });
        EXPECT_THAT(printed, HasSubstr(std::string("read error: ") + text + "\n"));
    }
    settle();
    EXPECT_EQ(fake::count(kOpen), 4);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(ReceiverTest, ADaemonThatRestartsSlowlyIsWaitedForThroughOpenAndAttach) {
    start();
    settle();
    fake::change([](fake::Host &host) { host.receive_errors = {ECONNREFUSED}; });
    fake::fail_opens(2);
    fake::fail_attaches(3);
    ASSERT_TRUE(fake::wait_for("select 3.000000", 1));
    const std::string printed = printed_by([&] {
        fake::send_datagram("x");
        ASSERT_TRUE(fake::wait_for(kAttach, 5));
        settle(2);
    });
    EXPECT_THAT(
        printed,
        HasSubstr("read error: Connection refused\n"
                  "mapd_interface_ctrl_open failed\nCan't connect to /tmp/mapd_ctrl, sleep 5s !!\n"
                  "mapd_interface_ctrl_open failed\nCan't connect to /tmp/mapd_ctrl, sleep 5s !!\n"
                  "Can't attach to /tmp/mapd_ctrl\nCan't attach to /tmp/mapd_ctrl\nCan't attach to /tmp/mapd_ctrl\n"));
    EXPECT_EQ(fake::count("sleep 5"), 5);
}

TEST_F(ReceiverTest, AFailedAttachAtTheStartEndsTheThread) {
    fake::fail_attaches(1);
    const std::string printed = printed_by([&] { EXPECT_EQ(module_.higherLayerDataRcv(nullptr), nullptr); });
    EXPECT_EQ(printed, "Can't attach to /tmp/mapd_ctrl\n");
    EXPECT_EQ(fake::count(kAttach), 1);
}

TEST_F(ReceiverTest, ADescriptorThatSelectCannotHoldCountsAsAFailedOpen) {
    fake::give_unusable_descriptor();
    const std::string printed = printed_by([&] { start(); });
    EXPECT_EQ(printed, "mapd_interface_ctrl_open failed\nCan't connect to /tmp/mapd_ctrl, sleep 5s !!\n");
    settle();
    EXPECT_EQ(fake::count(kOpen), 2);
}

TEST_F(ReceiverTest, AConnectionThatIsLostBeforeItBroughtAnythingIsOpenedAgainAfterAPause) {
    fake::host.receive_errors = {ENOTCONN, ENOTCONN, ENOTCONN};
    start();
    for (int opens = 2; opens <= 4; ++opens) {
        fake::send_datagram("x");
        ASSERT_TRUE(fake::wait_for(kAttach, opens));
    }
    EXPECT_EQ(fake::count("sleep 5"), 3);
    settle();
}

TEST_F(ReceiverTest, ADescriptorThatTurnsBadIsALostConnection) {
    for (const int bad : {-1, static_cast<int>(FD_SETSIZE), INT_MAX, INT_MIN}) {
        const int attaches = fake::count(kAttach);
        fake::spoil_descriptor_at_attach(bad);
        if (attaches == 0) {
            start();
        } else {
            fake::change([](fake::Host &host) { host.receive_errors = {ECONNRESET}; });
            fake::send_datagram("x");
        }
        ASSERT_TRUE(fake::wait_for(kAttach, attaches + 2)) << bad;
        settle(fake::count("system reboot") + 1);
    }
}

TEST_F(ReceiverTest, NothingReceivedIsWaitedOut) {
    start();
    fake::send_datagram("");
    settle();
    EXPECT_EQ(fake::count("usleep 50000"), 1);
}

TEST_F(ReceiverTest, AWaitThatFailsLosesNothing) {
    start();
    for (int failed = 1; failed <= 3; ++failed) {
        fake::change([](fake::Host &host) {
            host.failing_call = "select";
            host.failing_number = 1;
        });
        settle(2 * failed - 1);
        settle(2 * failed);
    }
    EXPECT_EQ(fake::count(kOpen), 1);
}

// Afresh on each pass: the C library is allowed to change the time-out.
TEST_F(ReceiverTest, WaitsThreeSecondsOnEveryPass) {
    start();
    settle();
    settle(2);
    ASSERT_TRUE(fake::wait_for("select 3.000000", 4));  // two of them brought nothing
    for (const std::string &call : fake::calls()) {
        EXPECT_TRUE(call.rfind("select", 0) != 0 || call == "select 3.000000") << call;
    }
}

}  // namespace
