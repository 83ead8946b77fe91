// Prints the dump of a mesh of some size, or what else is heard of it, for programs that read it from a file.
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "bench/mesh.h"

int main(int argc, char **argv) {
    const std::string_view part = argc == 4 ? argv[3] : "dump";
    if (argc < 3 || argc > 4 || (part != "dump" && part != "reports" && part != "leases")) {
        std::cerr << "usage: print-mesh DEVICES STATIONS [dump|reports|leases]\n";
        return 2;
    }
    const bench::Mesh mesh = bench::make_mesh(std::strtoul(argv[1], nullptr, 10), std::strtoul(argv[2], nullptr, 10));
    if (part == "reports") {
        for (const std::string &report : mesh.reports) {
            std::cout << report << '\n';
        }
    } else {
        std::cout << (part == "leases" ? mesh.leases : mesh.dump);
    }
    return 0;
}
