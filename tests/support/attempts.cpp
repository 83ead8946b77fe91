#include "tests/support/attempts.h"

std::vector<std::string> attempts() {
    std::vector<std::string> texts;
    for (int byte = 1; byte < 256; ++byte) {
        texts.push_back(std::string("a") + static_cast<char>(byte) + "b");
    }
    for (const char *attempt : {";reboot",
                                "; reboot;",
                                "a;reboot",
                                "&reboot",
                                "a&&reboot",
                                "a||reboot",
                                "|reboot",
                                "a | reboot",
                                "\nreboot",
                                "a\nreboot\n",
                                "\r\nreboot",
                                "$(reboot)",
                                "`reboot`",
                                "$(touch /tmp/owned)",
                                "`touch /tmp/owned`",
                                "$((1+1))",
                                "${PATH}",
                                "$PATH",
                                "$0",
                                "$$",
                                "$!",
                                "$?",
                                "$@",
                                "$*",
                                "$-",
                                "$#",
                                "\"",
                                "\"\"",
                                "\";reboot;\"",
                                "\"$(reboot)\"",
                                "\\\";reboot;\\\"",
                                "\\\\\";reboot;\"",
                                "\\",
                                "\\\\",
                                "\\$(reboot)",
                                "\\`reboot\\`",
                                "'",
                                "';reboot;'",
                                "'$(reboot)'",
                                "\"'\"'",
                                ">/tmp/owned",
                                ">>/tmp/owned",
                                "2>/tmp/owned",
                                "</etc/passwd",
                                "<<EOF",
                                "<(reboot)",
                                "a>b",
                                "*",
                                "/*",
                                "?",
                                "[a-z]",
                                "{a,b}",
                                "{1..9}",
                                "~",
                                "~root",
                                "~/x",
                                "!",
                                "!!",
                                "!reboot",
                                "#",
                                "# reboot",
                                "a #b",
                                "-rf",
                                "--help",
                                "-1",
                                "- reboot",
                                "a -rf",
                                "--",
                                "%s%s%s%n",
                                "%n",
                                "=",
                                "PATH=/tmp reboot",
                                "IFS=x",
                                "a=b",
                                "()",
                                "(reboot)",
                                "{ reboot; }",
                                "a() { reboot; }",
                                "while :; do :; done",
                                "exec reboot",
                                "eval reboot",
                                ". /tmp/x",
                                ":",
                                ": >/tmp/owned",
                                "a b",
                                "a  b",
                                " a",
                                "a ",
                                "\ta",
                                "a\t",
                                " ",
                                "\t",
                                "  \t ",
                                "a\tb",
                                "a b c d e",
                                "02:57:00:00:00:01 reboot",
                                "02:57:00:00:00:01\nreboot",
                                "02:57:00:00:00:01;reboot",
                                "02:57:00:00:00:01",
                                "02-57-00-00-00-01",
                                "2:57:0:0:0:1",
                                "../../etc/passwd",
                                "/etc/rc.d/S81ohttpd_rest",
                                "\xc3\xa9",
                                "\xe2\x82\xac",
                                "\xf0\x9f\x98\x80",
                                "\xef\xbc\x9breboot",
                                "\xe2\x80\xa8reboot",
                                "\xc2\xa0",
                                "a\xc3\xa9;reboot",
                                "\",\"Reboot\":1,\"x\":\"",
                                "\\u0022",
                                "\\n",
                                "\\x3breboot",
                                "\\073reboot",
                                "1234\n",
                                "1234; reboot",
                                "1234 5678",
                                "0",
                                "1",
                                "00001"}) {
        texts.emplace_back(attempt);
    }
    for (const char *piece : {"a", ";", "\"", "\\", "$(", "`", "'", " ", "-", "\n", "\xc3\xa9"}) {
        std::string text;
        while (text.size() < 4096) {
            text += piece;
        }
        texts.push_back(text);
    }
    return texts;
}

std::vector<std::string> terminal_attempts() {
    // Octal where a letter follows that would be taken for another digit.
    return {
        "\x1b[2J",                 // clear the screen
        "\x1b[1;1Hroot:",          // write elsewhere
        "\x1b]0;title\x07",        // title, ended by BEL
        "\x1b]0;title\x1b\\",      // and by ST
        "\x1b]52;c;cmVib290\x07",  // clipboard
        "\x1b]8;;http://example.org\x1b\\link\x1b]8;;\x1b\\",
        "\x1b[21t",          // report of the title, typed in
        "\x1b[6n",           // report of the place
        "\x1b[?1049h",       // the other screen
        "\x1b[31mred",       // colour
        "\x1b[8mhidden",     // not seen
        "\x1bP$q\"p\x1b\\",  // DCS
        "\x1b_apc\x1b\\",    // APC
        "\x1b^pm\x1b\\",     // PM
        "\033c",             // reset
        "\x1b(0lqqk",        // another set of characters
        "\xc2\2332J",        // the same by C1, in UTF-8
        "\xc2\2350;t\xc2\x9c",
        "\2332J",  // and as a byte
        "a\rb",    // over what was there
        "a\bb",
        "a\177b",
        "a\016b\x0f",
        "\xe2\x80\256txt.exe",        // right to left
        "\xe2\x81\246a\xe2\x81\xa9",  // isolates
        "a\xe2\x80\213b",             // nothing to see
        "a\xe2\x80\250b",             // line separator
        "\xef\xbb\277a",              // BOM
        "\xf3\xa0\x81\xa1",           // tag
        "\xff\xfe",                   // no UTF-8
        "\xc0\xaf",                   // overlong
        "\xed\xa0\x80",               // half a surrogate
    };
}
