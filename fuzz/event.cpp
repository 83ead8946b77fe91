// A raw datagram, to the receiver thread.
#include "fuzz/host.h"
#include "module/platform/lanmon.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    log_level = size % 2 == 0 ? 7 : 0;  // the traces print what was received
    fuzz::host.role = size % 3 == 0 ? "1" : "2";
    fuzz::answer_from_host();
    fuzz::send_datagram({reinterpret_cast<const char *>(data), size});
    return 0;
}
