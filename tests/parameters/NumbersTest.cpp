#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include "Parameters.h"

namespace {

using CoreServices::Parameters;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct NumberRow {
    std::string token;
    std::optional<std::int32_t> integer;
    std::optional<double> real;
};

const NumberRow kNumbers[] = {
    {"0", 0, {}},
    {"-0", 0, {}},
    {"2147483647", 2147483647, {}},
    {"-2147483648", std::numeric_limits<std::int32_t>::min(), {}},
    {"2147483648", {}, 2147483648.0},
    {"-2147483649", {}, -2147483649.0},
    {"9007199254740993", {}, 9007199254740992.0},
    {"1.0", {}, 1.0},
    {"1E2", {}, 100.0},
    {"0e0", {}, 0.0},
    {"-0.0", {}, -0.0},
    {"0.1000", {}, 0.1},
    {"123456789012345678901234567890", {}, 123456789012345678901234567890.0},
    {"4.9e-324", {}, std::numeric_limits<double>::denorm_min()},
    {"1.7976931348623157e308", {}, std::numeric_limits<double>::max()},
    // What no double can hold: the nearest thing it can.
    {"1e400", {}, kInfinity},
    {"-1e400", {}, -kInfinity},
    {"1E+99999999999999999999", {}, kInfinity},
    {"1e-400", {}, 0.0},
    {"-1e-400", {}, -0.0},
    {"1e-99999999999999999999", {}, 0.0},
    {"0e99999999999999999999", {}, 0.0},
    {"0.0e400", {}, 0.0},
    {"1" + std::string(400, '0'), {}, kInfinity},
    {"1" + std::string(400, '0') + "e-5", {}, kInfinity},
    {"1" + std::string(400, '0') + "e-400", {}, 1.0},
    {"1" + std::string(400, '0') + "e-800", {}, 0.0},
    {"0." + std::string(400, '0') + "1e+5", {}, 0.0},
    {"-0." + std::string(400, '0') + "1e800", {}, -kInfinity},
};

TEST(Numbers, ReadStrictlyAndKeepTheirText) {
    for (const NumberRow& row : kNumbers) {
        SCOPED_TRACE(row.token);
        const std::string json = "{\"n\":" + row.token + ",\"a\":[" + row.token + "]}";
        const auto tree = Parameters::fromJSON(json);

        std::int32_t integer = 77;
        EXPECT_EQ(tree.GetParameter("n", integer), row.integer.has_value());
        EXPECT_EQ(integer, row.integer.value_or(77));
        double real = 77;
        EXPECT_EQ(tree.GetParameter("n", real), row.real.has_value());
        EXPECT_EQ(real, row.real.value_or(77));
        EXPECT_EQ(std::signbit(real), std::signbit(row.real.value_or(77)));

        Parameters copied;
        EXPECT_TRUE(copied.CopyValue(tree, "n", "n"));
        copied.SetChildParameters("a", tree.GetChildParameters("a"));
        EXPECT_EQ(copied.toJSON(), json);
        EXPECT_EQ(copied, tree);
    }
}

struct RealRow {
    double value;
    const char* written;
};

const RealRow kReals[] = {
    {0.0, "0.0"},       {-0.0, "-0.0"},
    {1.0, "1.0"},       {-1200.0, "-1200.0"},
    {0.1, "0.1"},       {1.0 / 3, "0.3333333333333333"},
    {1e22, "1e+22"},    {2147483648.0, "2147483648.0"},
    {5e-324, "5e-324"}, {1.7976931348623157e308, "1.7976931348623157e+308"},
};

TEST(Numbers, RealsStayReal) {
    for (const RealRow& row : kReals) {
        SCOPED_TRACE(row.written);
        Parameters tree;
        tree.SetParameter("n", row.value);
        EXPECT_EQ(tree.toJSON(), "{\"n\":" + std::string(row.written) + "}");
        double real = 77;
        ASSERT_TRUE(Parameters::fromJSON(tree.toJSON()).GetParameter("n", real));
        EXPECT_EQ(real, row.value);
    }
    Parameters tree;
    for (const double bad : {kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_THROW(tree.SetParameter("n", bad), std::invalid_argument);
    EXPECT_TRUE(tree.IsEmpty());
}

TEST(Numbers, WholeOnesAreWritten) {
    Parameters tree;
    tree.SetParameter("least", std::numeric_limits<std::int32_t>::min());
    tree.SetParameter("most", std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(tree.toJSON(), R"({"least":-2147483648,"most":2147483647})");
}

}  // namespace
