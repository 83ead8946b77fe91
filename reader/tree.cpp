#include "reader/tree.h"

#include <algorithm>

namespace reader {
namespace {

using Links = std::vector<std::vector<std::size_t>>;

Links told_children(const TreeInput &input) {
    Links children(input.devices);
    for (std::size_t device = 0; device < input.devices; ++device) {
        if (const auto parent = input.told_parent[device]) {
            children[*parent].push_back(device);
        }
    }
    return children;
}

// Each link seen from both of its ends, ordered.
Links both_ways(const TreeInput &input) {
    Links links(input.devices);
    for (std::size_t device = 0; device < input.devices; ++device) {
        for (const std::size_t neighbour : input.neighbours[device]) {
            links[device].push_back(neighbour);
            links[neighbour].push_back(device);
        }
    }
    for (auto &list : links) {
        std::sort(list.begin(), list.end());
    }
    return links;
}

// Reaches on from all that have hops, nearest to the root first.
void reach(const Links &links, std::vector<TreeNode> &tree) {
    std::vector<std::size_t> queue;
    for (std::size_t device = 0; device < tree.size(); ++device) {
        if (tree[device].hops) {
            queue.push_back(device);
        }
    }
    std::stable_sort(queue.begin(), queue.end(),
                     [&](std::size_t a, std::size_t b) { return *tree[a].hops < *tree[b].hops; });
    // Those reached here come behind all that are as near: a queue per distance keeps the order.
    std::vector<std::vector<std::size_t>> by_hops(tree.size() + 1);
    for (const std::size_t device : queue) {
        by_hops[*tree[device].hops].push_back(device);
    }
    for (std::size_t hops = 0; hops < by_hops.size(); ++hops) {
        for (std::size_t i = 0; i < by_hops[hops].size(); ++i) {
            const std::size_t device = by_hops[hops][i];
            for (const std::size_t next : links[device]) {
                if (!tree[next].hops) {
                    tree[next] = {device, static_cast<unsigned>(hops) + 1};
                    by_hops[hops + 1].push_back(next);
                }
            }
        }
    }
}

}  // namespace

std::vector<TreeNode> make_tree(const TreeInput &input) {
    std::vector<TreeNode> tree(input.devices);
    if (input.root < input.devices) {
        tree[input.root].hops = 0;
        reach(told_children(input), tree);
        reach(both_ways(input), tree);
    }
    return tree;
}

}  // namespace reader
