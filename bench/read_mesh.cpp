// Reads the folder of a gateway, as every program around the module does, and with a second one compares the two
// moments; prints how many milliseconds the reading took, and the comparison.
#include <chrono>
#include <iostream>

#include "reader/events.h"
#include "reader/source.h"

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds_since(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

reader::Snapshot read(const char *folder) {
    auto source = reader::open_source(folder);
    auto *opened = std::get_if<std::unique_ptr<reader::Source>>(&source);
    return opened != nullptr ? reader::make_snapshot((*opened)->read()) : reader::Snapshot();
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argc > 3) {
        std::cerr << "usage: read-mesh FOLDER [LATER]\n";
        return 2;
    }
    const auto begin = Clock::now();
    const reader::Snapshot before = read(argv[1]);
    std::cout << milliseconds_since(begin);
    if (argc == 3) {
        const reader::Snapshot after = read(argv[2]);
        const auto compare = Clock::now();
        const std::size_t count = reader::events(before, after).size();
        std::cout << ' ' << milliseconds_since(compare) << ' ' << count;
    }
    std::cout << '\n';
    return before.stations.empty() ? 1 : 0;
}
