// Is this Agent's uplink station interface connected? For the host; nothing inside the module asks.

#include <cstring>

#include "module/base/diag.h"
#include "module/base/paths.h"
#include "module/base/shell.h"
#include "qo1905.h"

using namespace qo1905;

int32_t RPUpLinkStatusCheck() {
    Pipe pipe = read_command(kUplinkEssidCommand);
    char line[256] = {};
    if (pipe == nullptr || std::fgets(line, sizeof(line), pipe.get()) == nullptr) {
        return 0;
    }
    // Two blanks and a last character, the line end.
    if (std::strlen(line) != 3 || std::strncmp(line, "  ", 2) != 0) {
        return 0;
    }
    pipe.reset();
    std::printf("Agent device haven't connect with Controller\n");
    return -1;
}
