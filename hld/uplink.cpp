// Is this Agent's uplink station interface connected? For the host; nothing inside the module asks.

#include "core/diag.h"
#include "core/paths.h"
#include "core/shell.h"
#include "core/text.h"
#include "model/qo1905.h"

using namespace qo1905;

int32_t RPUpLinkStatusCheck() {
    Pipe pipe = read_command(kUplinkEssidCommand);
    char line[256] = {};
    if (pipe == nullptr || std::fgets(line, sizeof(line), pipe.get()) == nullptr) {
        return 0;
    }
    std::string_view essid = field_text(line);
    if (!essid.empty()) {
        essid.remove_suffix(1);  // the line end
    }
    if (essid != "  "sv) {
        return 0;
    }
    pipe.reset();
    std::printf("Agent device haven't connect with Controller\n");
    return -1;
}
