// A topology dump, through the table into all files.
#include "fuzz/host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::write_file("/tmp/dump.txt", {reinterpret_cast<const char *>(data), size});
    fuzz::build_and_write();
    fuzz::expect_model_in_proportion(size);
    return 0;
}
