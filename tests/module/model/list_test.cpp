// Lists: the whole list is checked after every operation.
#include "module/model/list.h"

#include <gmock/gmock.h>

#include <vector>

#include "module/base/owned.h"
#include "module/model/al_table.h"
#include "module/model/high_layer_table.h"
#include "module/model/update_lock.h"

using namespace qo1905;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Node {
    Node *next;
    int value;
};

std::vector<int> values(const Node *head) {
    std::vector<int> found;
    for (const Node &node : ListNodes<const Node>(head)) {
        found.push_back(node.value);
    }
    return found;
}

Node *new_node(int value) {
    Node *node = record_new<Node>();
    node->value = value;
    return node;
}

TEST(List, AppendsAtTheTailAlsoOfAListThatIsThereAlready) {
    Node *head = nullptr;
    ListTail<Node> tail(head);
    EXPECT_THAT(values(head), IsEmpty());
    tail.append(new_node(1));
    EXPECT_THAT(values(head), ElementsAre(1));
    tail.append(new_node(2));
    EXPECT_THAT(values(head), ElementsAre(1, 2));
    ListTail<Node>(head).append(new_node(3));
    EXPECT_THAT(values(head), ElementsAre(1, 2, 3));
    free_list(head);
    EXPECT_EQ(head, nullptr);
    free_list(head);
}

TEST(DeviceList, DestroyingAnEmptyOneFails) {
    qo1905_device *none = nullptr;
    EXPECT_EQ(destroyIeee1905DevTable(none), QO1905_FAILURE);
    qo1905_device *one = record_new<qo1905_device>();
    EXPECT_EQ(destroyIeee1905DevTable(one), QO1905_SUCCESS);
    EXPECT_EQ(one, nullptr);
    EXPECT_EQ(destroy_al_table(), QO1905_SUCCESS);
}

TEST(HighLayerTable, DestroyingAnEmptyOneSaysSo) {
    int failures = 0;
    if (!update_lock.try_acquire(0, failures)) {
        FAIL();
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(destroyEcnt1905Table(), 0);
    EXPECT_EQ(destroyDupEcnt1905Table(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "destroyEcnt1905Table: already NULL!\ndestroyDupEcnt1905Table: already NULL!\n");
    update_lock.release();
}

TEST(HighLayerTable, CopiesEveryFieldInOrder) {
    int failures = 0;
    if (!update_lock.try_acquire(0, failures)) {
        FAIL();
    }
    EXPECT_EQ(copyList(), nullptr);
    for (int i = 0; i < 2; ++i) {
        auto *report = record_new<qo1905_report>();
        auto *bytes = reinterpret_cast<unsigned char *>(report);
        for (std::size_t b = sizeof(report->next); b < offsetof(qo1905_report, clientList); ++b) {
            bytes[b] = static_cast<unsigned char>(b * 7 + static_cast<std::size_t>(i));
        }
        ListTail<qo1905_client> clients(report->clientList);
        for (int c = 0; c < 3; ++c) {
            auto *client = record_new<qo1905_client>();
            client->Mac[5] = static_cast<uint8_t>(c);
            client->phyRate = static_cast<uint16_t>(1000 * i + c);
            clients.append(client);
        }
        EXPECT_EQ(append_report(report), i == 0);
    }
    qo1905_report *copy = copyList();
    EXPECT_NE(copy, nullptr);
    int i = 0;
    for (const qo1905_report &report : ListNodes<const qo1905_report>(copy)) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(&report);
        for (std::size_t b = sizeof(report.next); b < offsetof(qo1905_report, clientList); ++b) {
            EXPECT_EQ(bytes[b], static_cast<unsigned char>(b * 7 + static_cast<std::size_t>(i))) << b;
        }
        int c = 0;
        for (const qo1905_client &client : ListNodes<const qo1905_client>(report.clientList)) {
            EXPECT_EQ(client.Mac[5], c);
            EXPECT_EQ(client.phyRate, 1000 * i + c);
            ++c;
        }
        EXPECT_EQ(c, 3);
        ++i;
    }
    EXPECT_EQ(i, 2);
    destroyEcnt1905Table();
    EXPECT_EQ(copy->clientList->phyRate, 0);  // its own nodes, still there
    free_list(copy);
    update_lock.release();
}

TEST(HighLayerTable, ReportsAreTakenOutFromAnyPlace) {
    int failures = 0;
    if (!update_lock.try_acquire(0, failures)) {
        FAIL();
    }
    qo1905_report *reports[3];
    for (qo1905_report *&report : reports) {
        report = record_new<qo1905_report>();
        append_report(report);
    }
    for (const int which : {1, 2, 0}) {
        unlink_report(reports[which]);
        EXPECT_EQ(reports[which]->next, nullptr);
        report_free(reports[which]);
    }
    EXPECT_EQ(copyList(), nullptr);
    report_free(nullptr);
    update_lock.release();
}

}  // namespace
