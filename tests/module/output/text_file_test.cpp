// The growing text and its way to the disk.
#include "module/output/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tests/support/failing_allocations.h"
#include "tests/support/module_test.h"

using namespace qo1905;

namespace {

constexpr char kFile[] = "/tmp/qo1905.json";

TEST(MemoryTextTest, GrowsWithItsText) {
    MemoryText text;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        const std::string piece = std::to_string(i);
        text.put(piece);
        expected += piece;
    }
    EXPECT_EQ(text.view(), expected);
    EXPECT_EQ(text.size(), expected.size());
    EXPECT_FALSE(text.failed());
}

TEST(MemoryTextTest, CountsWhatWasPrintedIntoItsRoom) {
    MemoryText text;
    char *at = text.room(100000);
    ASSERT_NE(at, nullptr);
    text.end_at(print_text(at, "abc"));
    EXPECT_EQ(text.view(), "abc");
    EXPECT_NE(text.room(0), nullptr);
}

TEST(MemoryTextTest, TakesNothingMoreOnceItFailed) {
    MemoryText text;
    text.put("abc");
    fail_allocation(1);
    EXPECT_EQ(text.room(100000), nullptr);
    allocate_again();
    EXPECT_TRUE(text.failed());
    text.put("d");
    EXPECT_EQ(text.room(1), nullptr);
    EXPECT_EQ(text.view(), "abc");
}

TEST(WriteTextFile, ReplacesTheFile) {
    write_file(kFile, "something longer");
    MemoryText text;
    text.put("new");
    write_text_file(kFile, text);
    EXPECT_EQ(read_file(kFile), "new");
    write_text_file(kFile, MemoryText());
    EXPECT_EQ(read_file(kFile), "");
}

TEST(WriteTextFile, LeavesTheFileWhereTheTextIsNotWhole) {
    write_file(kFile, "old");
    MemoryText text;
    text.put("new");
    text.fail();
    EXPECT_EQ(printed_by([&] { write_text_file(kFile, text); }),
              "write_text_file: too large or no memory, /tmp/qo1905.json stays as it was\n");
    EXPECT_EQ(read_file(kFile), "old");
}

// A host may have closed its standard input: then the next file that is opened gets descriptor 0.
TEST(WriteTextFile, TakesDescriptorZeroForAFile) {
    const int kept = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    MemoryText text;
    text.put("new");
    write_text_file(kFile, text);
    EXPECT_EQ(read_file(kFile), "new");
    EXPECT_LT(fcntl(STDIN_FILENO, F_GETFD), 0);  // closed again
    dup2(kept, STDIN_FILENO);
    close(kept);
}

}  // namespace
