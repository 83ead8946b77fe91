// Devices by number; the root is 0 where nothing else is said.
#include "reader/tree.h"

#include <gtest/gtest.h>

using reader::make_tree;
using reader::TreeInput;
using reader::TreeNode;

namespace {

TreeInput mesh(std::size_t devices) {
    TreeInput input;
    input.devices = devices;
    input.told_parent.resize(devices);
    input.neighbours.resize(devices);
    return input;
}

void expect_node(const std::vector<TreeNode> &tree, std::size_t device, std::optional<std::size_t> parent,
                 std::optional<unsigned> hops) {
    EXPECT_EQ(tree[device].parent, parent) << device;
    EXPECT_EQ(tree[device].hops, hops) << device;
}

TEST(Tree, AChainSeenFromEitherEnd) {
    TreeInput input = mesh(3);
    input.neighbours[0] = {1};
    input.neighbours[2] = {1};
    const auto tree = make_tree(input);
    expect_node(tree, 0, std::nullopt, 0);
    expect_node(tree, 1, 0, 1);
    expect_node(tree, 2, 1, 2);
}

TEST(Tree, WhatADeviceSaysOfItsParentCountsBeforeAShorterWay) {
    TreeInput input = mesh(3);
    input.neighbours[0] = {1, 2};
    input.told_parent[2] = 1;
    input.told_parent[1] = 0;
    const auto tree = make_tree(input);
    expect_node(tree, 2, 1, 2);
}

TEST(Tree, HasNoLoopsWhateverDevicesSay) {
    TreeInput input = mesh(4);
    input.told_parent[1] = 2;  // 1 and 2 say each other
    input.told_parent[2] = 1;
    input.told_parent[3] = 3;
    input.neighbours[1] = {1, 2, 2, 0, 0};
    const auto tree = make_tree(input);
    expect_node(tree, 1, 0, 1);
    expect_node(tree, 2, 1, 2);
    expect_node(tree, 3, std::nullopt, std::nullopt);
}

TEST(Tree, TheRootHasNoParentWhateverItSays) {
    TreeInput input = mesh(2);
    input.told_parent[0] = 1;
    input.neighbours[1] = {0};
    const auto tree = make_tree(input);
    expect_node(tree, 0, std::nullopt, 0);
    expect_node(tree, 1, 0, 1);
}

TEST(Tree, OfSeveralWaysTheShortestAndOfThoseTheFirst) {
    TreeInput input = mesh(5);
    input.root = 4;
    input.neighbours[4] = {1, 2};
    input.neighbours[0] = {2, 1, 3};
    input.neighbours[3] = {1};
    const auto tree = make_tree(input);
    expect_node(tree, 0, 1, 2);
    expect_node(tree, 3, 1, 2);
}

TEST(Tree, OneThatNobodyLeadsToHasNoHops) {
    const auto tree = make_tree(mesh(2));
    expect_node(tree, 1, std::nullopt, std::nullopt);
    EXPECT_TRUE(make_tree(mesh(0)).empty());
}

// A hundred thousand devices in a chain, told from the wrong end: no recursion, no square.
TEST(Tree, IsLinear) {
    TreeInput input = mesh(100000);
    for (std::size_t i = 1; i < input.devices; ++i) {
        input.neighbours[i] = {i - 1, i - 1, i - 1};
    }
    const auto tree = make_tree(input);
    expect_node(tree, 99999, 99998, 99999);
}

}  // namespace
