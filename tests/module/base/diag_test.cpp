#include "module/base/diag.h"

#include "tests/support/module_test.h"

using namespace qo1905;

namespace {

TEST(Diag, TracesFromLevelSevenOn) {
    for (const int level : {0, 6, 7, 9}) {
        log_level = level;
        EXPECT_EQ(printed_by([] { trace_at("name", 42, "a=%d %s\n", 5, "x"); }),
                  level >= 7 ? "[qo1905] [name:42] a=5 x\n" : "");
        EXPECT_EQ(printed_by([] { trace("b=%d\n", 6); }), level >= 7 ? "b=6\n" : "");
        EXPECT_EQ(tracing(), level >= 7);
    }
}

TEST(Diag, ATextThatIsNotSetIsShownAsTheCLibraryShowsIt) {
    EXPECT_STREQ(shown(nullptr), "(null)");
    EXPECT_STREQ(shown("x"), "x");
}

TEST(Diag, ANoticeReturnsItsLength) {
    int length = 0;
    EXPECT_EQ(printed_by([&] { length = notice_not_implemented("getX", 7); }), "\033[36m[NOTYET][getX:7]\033[0m\n");
    EXPECT_EQ(length, 26);
}

}  // namespace
