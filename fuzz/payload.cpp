// A payload in the role that its first byte names, then what the next cycle makes of it.
#include "fuzz/host.h"
#include "qo1905.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    static const bool placed = [] {
        fuzz::write_file("/tmp/dump.txt",
                         R"({"topology information": [{}, {"Device role": "02", "AL MAC": "02:0a:00:00:00:01",
            "Number of radios": 1, "Radio Info": [{"BSSINFO": [{"BSSID": "1", "connected sta info": [
            {"BH STA": "No", "STA MAC address": "02:57:00:00:00:01"}]}]}]}, {"Device role": "02", "AL MAC": ""}]})");
        return true;
    }();
    (void)placed;
    fuzz::host.role = std::string(1, static_cast<char>('0' + data[0] % 4));
    fuzz::answer_from_host();
    const std::string payload(reinterpret_cast<const char *>(data) + 1, size - 1);
    higherLayerDataRcvHandle(payload.c_str(), static_cast<int32_t>(payload.size()));
    fuzz::build_and_write();
    return 0;
}
