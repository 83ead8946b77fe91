// A lease file.
#include "fuzz/host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool placed = [] {
        fuzz::write_file("/tmp/dump.txt",
                         R"({"topology information": [{}, {"Device role": "02", "AL MAC": "02:0a:00:00:00:01"},
            {"Device role": "02", "AL MAC": ""}]})");
        return true;
    }();
    (void)placed;
    fuzz::write_file("/var/dnsmasq/dnsmasq.leases", {reinterpret_cast<const char *>(data), size});
    fuzz::build_and_write();
    return 0;
}
