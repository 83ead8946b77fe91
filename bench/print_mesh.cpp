// Prints the dump of a mesh of some size, for programs that read it from a file.
#include <cstdlib>
#include <iostream>

#include "bench/mesh.h"

int main(int argc, char **argv) {
    if (argc != 3) {
        std::cerr << "usage: print-mesh DEVICES STATIONS\n";
        return 2;
    }
    std::cout << bench::make_mesh(std::strtoul(argv[1], nullptr, 10), std::strtoul(argv[2], nullptr, 10)).dump;
    return 0;
}
