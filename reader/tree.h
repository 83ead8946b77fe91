// Who hangs on whom: neighbour lists hold parents and children alike, repeat themselves and may contradict each other;
// the tree that is made of them has no loops whatever they say.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace reader {

// Devices are numbers here. A link is known from one end of it or from both.
struct TreeInput {
    std::size_t devices = 0;
    std::size_t root = 0;
    std::vector<std::optional<std::size_t>> told_parent;  // what a device itself says
    std::vector<std::vector<std::size_t>> neighbours;     // by device, in any order
};

struct TreeNode {
    std::optional<std::size_t> parent;
    std::optional<unsigned> hops;  // absent when there is no way to the root
};

// What a device says of its parent counts, where that leads to the root; the others hang on the neighbour that is
// nearest to the root, of several the first. Linear in devices and links.
std::vector<TreeNode> make_tree(const TreeInput &input);

}  // namespace reader
