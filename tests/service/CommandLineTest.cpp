#include "service/CommandLine.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace Weftline::Services {
namespace {

TEST(CommandLine, SplitsByTheRulesOfWindowsPrograms) {
    const std::tuple<const char*, std::string, std::vector<std::string>> rows[] = {
        {"nothing", "", {}},
        {"white space alone", " \t\r\n\v\f ", {}},
        {"joined arguments end in a blank", "--port 1234 --realm=blue ", {"--port", "1234", "--realm=blue"}},
        {"runs of white space count once", "  a \t\n b", {"a", "b"}},
        {"quoted blanks", R"("a b" c)", {"a b", "c"}},
        {"quotes inside a word", R"(--name="a  b"c d)", {"--name=a  bc", "d"}},
        {"neighbouring stretches are one word", R"("a""b" c)", {"ab", "c"}},
        {"empty quotes are an empty word", R"(a "" b)", {"a", "", "b"}},
        {"empty quotes at the end", R"(a "")", {"a", ""}},
        {"an open quote reaches to the end", R"(a "b c )", {"a", "b c "}},
        {"an open quote with nothing behind it", R"(a ")", {"a", ""}},
        {"backslashes before anything else", R"(C:\a\\b \ c\)", {R"(C:\a\\b)", R"(\)", R"(c\)"}},
        {"a backslash keeps the quote", R"(\"a b\")", {R"("a)", R"(b")"}},
        {"two backslashes leave the quote", R"(\\"a b" c)", {R"(\a b)", "c"}},
        {"three do both", R"(\\\"a b)", {R"(\"a)", "b"}},
        {"a kept quote inside quotes", R"("a \" b" c)", {R"(a " b)", "c"}},
        {"a directory ends its quotes", R"("C:\my files\\" c)", {R"(C:\my files\)", "c"}},
        {"backslashes before white space", R"(a\\ "b\\ c")", {R"(a\\)", R"(b\\ c)"}},
        {"bytes beyond ASCII", "f\xC3\xBC\xC2\xA0r x", {"f\xC3\xBC\xC2\xA0r", "x"}},
        {"a zero byte is a character", std::string("a\0b", 3), {std::string("a\0b", 3)}},
    };
    for (const auto& [name, line, words] : rows) {
        EXPECT_EQ(SplitCommandLine(line), words) << name;
    }
}

}  // namespace
}  // namespace Weftline::Services
