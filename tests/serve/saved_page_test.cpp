// The page as one file.
#include "serve/saved_page.h"

#include "tests/serve/fixture.h"

using testing::HasSubstr;

namespace {

class SavedPageTest : public ServeTest {
protected:
    void SetUp() override {
        ServeTest::SetUp();
        fs::create_directories(folder_ / "page/vendor");
        write_file(folder_ / "page/index.html", "<p>");
        write_file(folder_ / "page/main.js", "if (1 < 2) run();");
        write_file(folder_ / "page/saved.js", "start();");
        write_file(folder_ / "page/style.css", "p {}");
        write_file(folder_ / "page/vendor/htm-preact.js", "library");
    }

    std::string saved(const nlohmann::ordered_json &snapshot) const {
        return serve::saved_page(serve::Page((folder_ / "page").string()), snapshot).value_or("");
    }

    // What stands between the marks of a block.
    static std::string block(const std::string &page, const std::string &id) {
        const std::string begin = "id=\"" + id + "\">";
        const std::size_t at = page.find(begin) + begin.size();
        return page.substr(at, page.find("</script>", at) - at);
    }
};

TEST_F(SavedPageTest, HasTheMomentAndAllItsFilesAndNothingThatEndsThem) {
    const std::string name = "</script><script>alert(1)</script><!--";
    const std::string page = saved({{"name", name}});
    const std::string snapshot = block(page, "snapshot");
    EXPECT_EQ(snapshot.find('<'), std::string::npos);
    EXPECT_EQ(Json::parse(snapshot)["name"], name);
    const Json files = Json::parse(block(page, "files"));
    EXPECT_EQ(files["main.js"], "if (1 < 2) run();");
    EXPECT_EQ(files["style.css"], "p {}");
    EXPECT_EQ(files["vendor/htm-preact.js"], "library");
    EXPECT_THAT(page, HasSubstr("\">start();</script>"));
}

TEST_F(SavedPageTest, NamesWhatMayRunByANumberThatIsAnotherEachTime) {
    const auto number = [](const std::string &page) {
        const std::string begin = "script-src 'nonce-";
        const std::size_t at = page.find(begin) + begin.size();
        return page.substr(at, page.find('\'', at) - at);
    };
    const std::string page = saved(Json::object());
    EXPECT_GT(number(page).size(), 20U);
    EXPECT_THAT(page, HasSubstr("nonce=\"" + number(page) + "\">"));
    EXPECT_NE(number(page), number(saved(Json::object())));
}

TEST_F(SavedPageTest, IsNotThereWithoutThePage) {
    fs::remove(folder_ / "page/index.html");
    EXPECT_EQ(saved(Json::object()), "");
}

}  // namespace
