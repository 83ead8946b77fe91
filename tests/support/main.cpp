#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv) {
    if (std::getenv("QO1905_SANDBOX") == nullptr) {
        std::fprintf(stderr, "These tests write the module's files in /tmp: run them with ./dev test\n");
        return 2;
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
