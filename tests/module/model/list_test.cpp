// Lists: the whole list is checked after every operation.
#include "module/model/list.h"

#include <gmock/gmock.h>

#include <vector>

#include "module/base/owned.h"
#include "module/model/al_table.h"

using namespace qo1905;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Node {
    Node *next;
    int value;
};

}  // namespace

template <>
inline constexpr NodeKind qo1905::kNodeKind<Node> = NodeKind::kPlain;

namespace {

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

TEST(DeviceList, DestroyingAnEmptyOneIsNothing) {
    qo1905_device *device = nullptr;
    destroyIeee1905DevTable(device);
    device = record_new<qo1905_device>();
    destroyIeee1905DevTable(device);
    EXPECT_EQ(device, nullptr);
    destroy_al_table();
    EXPECT_EQ(al_table, nullptr);
}

}  // namespace
