#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/variables_map.hpp>
#include <cstdlib>
#include <iostream>

#include "service/CommandLine.h"
#include "service/ServiceOptions.h"
#include "tests/support/ConsoleCapture.h"

namespace Weftline::Services {
namespace {

TEST(CommandLine, SplitsByTheRulesOfWindowsPrograms) {
    const std::tuple<const char*, std::string, std::vector<std::string>> rows[] = {
        {"white space alone", " \t\r\n\v\f ", {}},
        {"joined arguments end in a blank", "--port 1234 --realm=blue ", {"--port", "1234", "--realm=blue"}},
        {"quotes inside a word", R"(--name="a  b"c d)", {"--name=a  bc", "d"}},
        {"empty quotes are an empty word", R"(a "" b)", {"a", "", "b"}},
        {"an open quote reaches to the end", R"(a "b c )", {"a", "b c "}},
        {"an open quote with nothing behind it", R"(a ")", {"a", ""}},
        {"backslashes before anything else", R"(C:\a\\b \ c\)", {R"(C:\a\\b)", R"(\)", R"(c\)"}},
        {"a backslash keeps the quote", R"(\"a b\")", {R"("a)", R"(b")"}},
        {"two backslashes leave the quote", R"(\\"a b" c)", {R"(\a b)", "c"}},
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

/// A variable of the process's environment for as long as this lives.
struct EnvironmentVariable {
    EnvironmentVariable(std::string named, const char* value) : name(std::move(named)) {
        setenv(name.c_str(), value, 1);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { unsetenv(name.c_str()); }

    const std::string name;
};

struct Parsed {
    bool good = false;
    boost::program_options::variables_map options;
    DescribedService described;
    std::string output;

    std::string Text(const std::string& name) const { return options[name].as<std::string>(); }
};

Parsed Parse(const std::string& line, bool readCommandLine = true, bool readEnvironment = true) {
    boost::program_options::options_description description;
    Parsed parsed;
    AddBaseOptions(description, "some.service", 5, parsed.described);
    const TestSupport::ConsoleCapture console(std::cout);
    parsed.good = ParseOptions(line, description, parsed.options, {readCommandLine, readEnvironment, "zrf_"});
    parsed.output = console.Text();
    return parsed;
}

TEST(OptionParser, TheCommandLineWinsOverTheEnvironmentAndThatOverTheDefaults) {
    const EnvironmentVariable port("zrf_port", "5678");
    const EnvironmentVariable realm("zrf_realm", "blue");
    const Parsed parsed = Parse("--port 1234 --version=7");
    EXPECT_EQ(parsed.Text("port"), "1234");
    EXPECT_EQ(parsed.described.name + parsed.described.realm, "some.serviceblue");
    EXPECT_EQ(parsed.described.version, 7);
    EXPECT_EQ(Parse("--port 1234", false, true).Text("port"), "5678");
    EXPECT_EQ(Parse("--port 1234", true, false).described.realm, "test");
    EXPECT_EQ(Parse("").described.version, 5);
}

TEST(OptionParser, NamesMayBeShortenedAndWhatNobodyKnowsIsDropped) {
    const Parsed parsed = Parse(
        R"(bare --nonsense=1 --nonsense 2 -x --metadataroot="/a b/c" --mongo-u=sqlite:/d word --deploy=f )");
    ASSERT_TRUE(parsed.good);
    EXPECT_EQ(parsed.Text("metadatarootpath") + parsed.Text("mongo-uri") + parsed.Text("deploy"),
              "/a b/csqlite:/df");
    EXPECT_EQ(parsed.options.count("nonsense"), 0U);
    EXPECT_EQ(parsed.output, "");
}

TEST(OptionParser, AFaultIsPrintedAndLeavesTheServiceUndescribed) {
    const std::pair<std::string, std::string> rows[] = {
        {"--version=abc", "version"},
        {"--version=2147483648", "version"},
        {"--verbose=banana", "verbose"},
        {"--port=1 --port=2", "port"},
        {"--port", "port"},
        {"--port=", "port"},
        {"--mongo=x", "mongo"},
    };
    for (const auto& [line, culprit] : rows) {
        const Parsed parsed = Parse("--realm=blue " + line);
        EXPECT_FALSE(parsed.good) << line;
        EXPECT_THAT(parsed.output, testing::MatchesRegex("[^\n]*" + culprit + "[^\n]*\n"));
        EXPECT_EQ(parsed.described.name + parsed.described.realm + parsed.described.host, "") << line;
        EXPECT_EQ(parsed.described.version, 0) << line;
    }
    const EnvironmentVariable verbose("zrf_verbose", "banana");
    const Parsed parsed = Parse("--realm=blue");
    EXPECT_EQ(parsed.Text("realm"), "blue") << "what was read before a fault stays";
    EXPECT_EQ(parsed.described.realm, "");
}

TEST(StoreSuffix, NamesEveryRealmButTheGlobalOne) {
    EXPECT_EQ(MakeStoreSuffix("global") + MakeStoreSuffix("Global"), "_2_3_12_Global_2_3_12");
}

}  // namespace
}  // namespace Weftline::Services
