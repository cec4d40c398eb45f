// What trees take, counted as it is taken.

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"
#include "tests/parameters/CountedMemory.h"

namespace {

using CoreServices::Parameters;
using TestSupport::CountedMemory;
using namespace std::literals;

std::string Repeated(std::string_view begin, std::string_view item, std::string_view end, std::size_t size) {
    std::string text(begin);
    while (text.size() + item.size() + end.size() <= size)
        text += item;
    return text.append(end);
}

std::string WithNames(std::string_view value, std::size_t size) {
    std::string text = "{";
    for (int n = 0; text.size() < size; ++n)
        text.append("\"").append(std::to_string(n)).append("\":").append(value).append(",");
    return text.append(R"("":0})");
}

/// What takes much, in many ways.
std::vector<std::string> Documents(std::size_t size) {
    const std::string deep(510, '[');
    return {Repeated("[", "[],", "0]", size),
            Repeated("[", "{},", "0]", size),
            Repeated("[", "0,", "0]", size),
            Repeated("[", "[0],", "0]", size),
            Repeated("[", "[[[[0]]]],", "0]", size),
            Repeated("[", "[ ],", "0]", size),
            Repeated(deep, "[],", "0" + std::string(510, ']'), size),
            Repeated("{", R"("":0,)", R"("":0})", size),
            Repeated("{", R"("a":{},)", R"("":0})", size),
            Repeated("[", R"({"":0},)", "0]", size),
            Repeated("[", R"("",)", "0]", size),
            Repeated("[", R"("1234567890123456",)", "0]", size),
            Repeated("[", R"("123456789012345\n",)", "0]", size),
            Repeated("[", "0.12345678901234,", "0]", size),
            Repeated("[\"", R"(\")", "\"]", size),
            Repeated("[\"", R"([{,:\\)", "\"]", size),
            WithNames("0", size),
            WithNames("[{}]", size)};
}

/// What begins like something large.
std::vector<std::string> Refused(std::size_t size) {
    return {Repeated("", "[", "", size),        Repeated("", R"([{"":)", "", size),
            Repeated("", ",", "", size),        Repeated("", "[0,", "", size),
            Repeated("[\"", R"(\n)", "", size), Repeated("[", "[]", "", size),
            Repeated("{", R"("":)", "", size),  Repeated("[", "1", "", size),
            Repeated("", ":,", "", size),       Repeated("", "{:]", "", size)};
}

std::size_t PeakOfReading(std::string_view text) {
    const CountedMemory memory;
    try {
        Parameters::fromJSON(text);
    } catch (const std::runtime_error&) {
        // Counted like the others.
    }
    EXPECT_EQ(memory.Held(), 0U);
    return memory.Peak();
}

TEST(Memory, OfReadingIsBoundedByTheTextsPunctuation) {
    constexpr std::size_t kHeads = 2'000;  // what even the shortest text may take
    constexpr std::size_t kSmall = 8 * 1024;
    for (const std::size_t size : {0U, 100U, 2'000U, 9'000U, 300'000U}) {
        for (const std::string& text : Documents(size)) {
            SCOPED_TRACE(text.substr(0, 20) + ".." + std::to_string(text.size()));
            const std::size_t most = Parameters::MostMemoryOf(text);
            const std::size_t peak = PeakOfReading(text);
            EXPECT_LE(peak, most);
            EXPECT_LE(most, 30 * text.size() + kHeads);
            EXPECT_LE(most, peak + peak / 2 + (size > kSmall ? 0 : 30 * size + kHeads));
        }
        for (const std::string& text : Refused(size)) {
            const std::size_t most = Parameters::MostMemoryOf(text);
            EXPECT_LE(PeakOfReading(text), most) << text.substr(0, 20);
            EXPECT_LE(most, 40 * text.size() + kHeads) << text.substr(0, 20);
        }
    }
    // One byte of a document is another's: whatever comes of it.
    std::mt19937 random(19);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts each time
    const std::string signs = "[]{},:\"\\0 \n\xC3"s;
    for (std::string& text : Documents(400)) {
        for (int round = 0; round < 200; ++round) {
            text[random() % text.size()] = signs[random() % signs.size()];
            EXPECT_LE(PeakOfReading(text), Parameters::MostMemoryOf(text)) << text;
        }
    }
}

TEST(Memory, OfALargeDocumentIsNotKeptByASmallPartOfIt) {
    const std::string part = R"({"a":[1,{"b":"a text too long to lie inside"}],"c":null})";
    const CountedMemory memory;
    std::string text = R"({"part":)" + part + R"(,"name":"a text too long to lie inside","rest":)";
    auto tree = Parameters::fromJSON(text + WithNames("[0]", 300'000) + "}");
    Parameters kept;
    kept.SetChildParameters("part", tree.GetChildParameters("part"));
    kept.CopyValue(tree, "name", "name");
    Parameters most = tree.GetChildParameters("rest");
    most.SetParameter("new", 1);
    tree = Parameters();
    EXPECT_GT(memory.Held(), 300'000U);
    most = Parameters();
    text = std::string();
    EXPECT_LT(memory.Held(), 2'000U);
    EXPECT_EQ(kept.toJSON(), R"({"part":)" + part + R"(,"name":"a text too long to lie inside"})");
}

}  // namespace
