// mapd_cli: hands one command to the multi-AP daemon and prints its answer.
//     mapd_cli SOCKET COMMAND [ARGUMENT...]

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "lab/mapd/wire.h"

int main(int argc, char **argv) {
    constexpr int kAnswerMs = 5000;
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 2) {
        std::cerr << "usage: mapd_cli SOCKET COMMAND [ARGUMENT...]\n";
        return 2;
    }
    const int fd = lab::open_client_socket();
    if (fd < 0 || !lab::connect_to(fd, words[0])) {
        std::cerr << "mapd_cli: " << words[0] << ": no daemon answers: " << std::strerror(errno) << '\n';
        return 1;
    }
    const std::string answer = lab::ask(fd, {words.begin() + 1, words.end()}, kAnswerMs);
    if (answer.rfind("OK", 0) == 0) {
        return 0;
    }
    std::cerr << "mapd_cli: " << (answer.empty() ? "no answer\n" : answer);
    return 1;
}
