#include "reader/input.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

using reader::Input;
using reader::Problem;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

class InputTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        path_ = folder_ + "/file";
    }
    void TearDown() override { fs::remove_all(folder_); }

    void write(const std::string &text) const { std::ofstream(path_, std::ios::binary) << text; }

    std::string folder_ = testing::TempDir() + "qo1905-input.XXXXXX";
    std::string path_;
};

TEST_F(InputTest, IsTheWholeFileWithItsTime) {
    const std::string text = std::string(1, '\0') + "b\xff\n" + std::string(100000, 'x');
    write(text);
    fs::last_write_time(path_, fs::last_write_time(path_) - std::chrono::hours(1));
    const Input input = reader::read_file(path_);
    EXPECT_FALSE(input.problem);
    EXPECT_EQ(input.text, text);
    const double age = std::chrono::duration<double>(std::chrono::system_clock::now() - input.time).count();
    EXPECT_NEAR(age, 3600, 60);
}

TEST_F(InputTest, TellsWhyAFileCannotBeHad) {
    const Input none = reader::read_file(path_);
    EXPECT_EQ(none.problem->kind, Problem::Kind::kMissing);
    EXPECT_EQ(none.problem->text(), path_ + ": No such file or directory");
    const Input folder = reader::read_file(folder_);
    EXPECT_EQ(folder.problem->kind, Problem::Kind::kUnreadable);
    EXPECT_EQ(folder.problem->text(), folder_ + ": Is a directory");
    write("x");
    EXPECT_EQ(reader::read_file(path_ + "/below").problem->kind, Problem::Kind::kMissing);
    if (geteuid() != 0) {
        fs::permissions(path_, fs::perms::none);
        EXPECT_EQ(reader::read_file(path_).problem->reason, "Permission denied");
    }
}

TEST_F(InputTest, OfMoreThanItTakesIsToldNotRead) {
    write("");
    ASSERT_EQ(truncate(path_.c_str(), off_t{200} << 20U), 0);
    const Input input = reader::read_file(path_);
    EXPECT_EQ(input.problem->reason, "File too large");
    EXPECT_TRUE(input.text.empty());
}

TEST_F(InputTest, APipeThatNobodyWritesIntoHoldsNobodyUp) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    const Input input = reader::read_model_file(path_);
    EXPECT_EQ(input.problem->text(), path_ + ": gives nothing");
}

TEST_F(InputTest, APipeIsReadToItsEnd) {
    const std::string command = "printf '{}\\n' | cat";
    std::FILE *pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    const Input input = reader::read_model_file("/dev/fd/" + std::to_string(fileno(pipe)));
    EXPECT_EQ(input.text, "{}\n");
    pclose(pipe);
}

TEST_F(InputTest, AModelThatIsCutIsTorn) {
    for (const char *text : {"", "{", "{\n\t\"Device\": {", "{}"}) {
        write(text);
        const Input input = reader::read_model_file(path_);
        ASSERT_TRUE(input.problem) << text;
        EXPECT_EQ(input.problem->kind, Problem::Kind::kTorn) << text;
        EXPECT_TRUE(input.text.empty()) << text;
    }
    for (const char *text : {"{}\n", "no model at all"}) {  // what it is, whoever understands it will say
        write(text);
        EXPECT_FALSE(reader::read_model_file(path_).problem) << text;
    }
}

// Caught in the middle of a write, it is read again. How soon the writer goes on is the machine's affair, so it has
// some tries.
TEST_F(InputTest, AModelThatIsBeingWrittenIsWaitedFor) {
    bool was_waited_for = false;
    for (int i = 0; i < 100 && !was_waited_for; ++i) {
        write("{\n");
        std::thread writer([this] {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            write("{}\n");
        });
        was_waited_for = !reader::read_model_file(path_).problem;
        writer.join();
    }
    EXPECT_TRUE(was_waited_for);
}

}  // namespace
