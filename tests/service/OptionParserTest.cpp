#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/variables_map.hpp>
#include <iostream>

#include "service/ServiceOptions.h"
#include "tests/service/EnvironmentVariable.h"
#include "tests/support/ConsoleCapture.h"

namespace Weftline::Services {
namespace {

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

TEST(OptionParser, AVariableSetsAnOptionOnlyByPrefixAndExactName) {
    for (const std::string name :
         {"ZRF_port", "zrf_PORT", "zrf_por", "zrf_ports", "zrf_", "port", "xzrf_port"}) {
        const EnvironmentVariable variable(name, "1");
        EXPECT_EQ(Parse("").Text("port"), "9900") << name;
    }
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
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"a value that does not convert", "--version=abc", "version"},
        {"an integer that does not fit", "--version=2147483648", "version"},
        {"a bool that is none", "--verbose=banana", "verbose"},
        {"a repeated option", "--port=1 --port=2", "port"},
        {"an option without its value", "--port", "port"},
        {"a shortened name that is not unique", "--mongo=x", "mongo"},
        {"an empty adjacent value", "--port=", "port"},
    };
    for (const auto& [name, line, culprit] : rows) {
        SCOPED_TRACE(name);
        const Parsed parsed = Parse("--realm=blue " + line);
        EXPECT_FALSE(parsed.good);
        EXPECT_THAT(parsed.output, testing::MatchesRegex("[^\n]*" + culprit + "[^\n]*\n"));
        EXPECT_EQ(parsed.described.name + parsed.described.realm + parsed.described.host, "");
        EXPECT_EQ(parsed.described.version, 0);
    }
    const EnvironmentVariable verbose("zrf_verbose", "banana");
    const Parsed parsed = Parse("--realm=blue");
    EXPECT_FALSE(parsed.good);
    EXPECT_EQ(parsed.Text("realm"), "blue") << "what was read before a fault stays";
    EXPECT_EQ(parsed.described.realm, "");
}

TEST(StoreSuffix, NamesEveryRealmButTheGlobalOne) {
    EXPECT_EQ(MakeStoreSuffix("global"), "_2_3_12");
    EXPECT_EQ(MakeStoreSuffix("Global"), "_Global_2_3_12");
}

}  // namespace
}  // namespace Weftline::Services
