// The way from text to tree and back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/parameters/JsonObjectText.h"
#include "base/parameters/JsonTexts.h"
#include "base/parameters/Parameters.h"

namespace {

using CoreServices::Parameters;
using namespace std::literals;
using Texts = std::vector<std::string>;

const std::string kAsDeepAsAllowed(512, '[');

TEST(JsonReading, AcceptsWhatTheGrammarAllows) {
    const std::pair<std::string_view, std::string_view> changed[] = {
        {"", "{}"},
        {" \t\r\n{ \"a\" : [ 1 , 2 ] , \"b\" : { } } \n", R"({"a":[1,2],"b":{}})"},
        {R"({"a":{"x":1},"b":2,"a":[3]})", R"({"a":[3],"b":2})"},  // the last value in the first place
        {R"({"a":1,"\u0061":2})", R"({"a":2})"},                   // equal only once unescaped
        {R"(["\"\\\/\b\f\n\r\t"])", R"(["\"\\/\b\f\n\r\t"])"},
        {R"(["\u00e9\u00E9\u20aC"])", "[\"\u00e9\u00e9\u20ac\"]"},
        {R"(["\ud800\udc00\uDBFF\uDFFF"])", "[\"\U00010000\U0010FFFF\"]"}};
    for (const auto& [text, written] : changed) {
        EXPECT_EQ(Parameters::fromJSON(text).toJSON(), written);
        EXPECT_TRUE(CoreServices::IsJson(text)) << text;
    }
    for (const std::string& same :
         Texts{"{}", R"(["",0,-1.5e+3,true,false,null,{"k":[]}])", R"({"":0})", R"({"\u0000":"a\u0000b"})",
               "[\"\x7F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF\"]",
               "[\"\uD7FF\uE000\uFEFF\"]",  // neighbours of the surrogates, and a byte order mark within
               R"(["/*x*/ //"])", R"(["12345678\n1234567\"123456789012345"])",
               kAsDeepAsAllowed + std::string(512, ']')}) {
        EXPECT_EQ(Parameters::fromJSON(same).toJSON(), same);
        EXPECT_TRUE(CoreServices::IsJson(same)) << same;
    }
}

// The sign '^' marks the place that the error names, and is no part of the text.
TEST(JsonReading, RefusesAllElseAndNamesThePlace) {
    const std::pair<std::string, Texts> refused[] = {
        {"the document ends where an object or an array was expected", {" \n^"}},
        {"the document ends where a key in double quotes was expected", {"{^"}},
        {"the document ends where a value was expected", {"[^"}},
        {"the document ends where a comma or a closing bracket was expected", {"[1^"}},
        {"the document ends where a closing quote was expected", {"[\"a^", R"(["\"]^)"}},
        {"a byte order mark is not allowed", {"^\xEF\xBB\xBF{}"}},
        {"an object or an array was expected", {R"(^"a")", "^null"}},
        {"nothing more was expected after the end of the document", {"{}^[]", "{}^\0"s, "[]^/**/"}},
        {"a key in double quotes was expected", {"{^\0}\0"s, R"({"a":1,^})", "{^a:1}", "{^1:1}"}},
        {"a colon was expected", {R"({"a" ^1})", R"({"a"^,1})"}},
        {"a comma or a closing brace was expected", {R"({"a":1 ^"b":2})", R"({"a":1^])"}},
        {"a comma or a closing bracket was expected",
         {"[1 ^2]", "[1^}", R"(["a"^:1])", "[null^s]", "[0^12]", "[-0^1]", "[1e1^.5]", "[0^x1F]"}},
        {"a value was expected",
         {"[^\f]", "[1,^]", "[1,^,2]", R"({"a":^})", "[^tru]", "[^NaN]", "[^+1]", "[^.5]", "[^'a']"}},
        {"a digit was expected", {"[-^Infinity]", "[-^]", "[1.^]", "[1e^]", "[1E+^]", "[1e+^-1]"}},
        {"nesting deeper than 512 is not allowed",
         {kAsDeepAsAllowed + "^[]", kAsDeepAsAllowed + "^" + std::string(1'000'000, '[')}},
        {"an escape character was expected", {R"(["\^x41"])"}},
        {"a control character must be escaped",
         {"[\"a^\nb\"]", "{\"^\t\":1}", "[\"^\0\"]"s, "[\"abcdefgh^\x1F\"]"}},
        {"a hexadecimal digit was expected", {R"(["\u00e^"])", R"(["\u00^g0"])", R"(["\ud800\u12^"])"}},
        {"one half of a surrogate pair stands alone",
         {R"(["a^\ud800"])", R"(["^\ud800\n"])", R"(["^\ud800\ud800"])", R"(["^\udc00"])",
          R"(["^\udc00\ud800"])"}},
        {"this is no valid UTF-8",
         {"[\"^\x80\"]", "[\"\\n^\xBF\"]",  // stray continuations
          "[\"^\xC0\x80\"]", "[\"^\xC1\xBF\"]", "[\"^\xE0\x9F\xBF\"]", "[\"^\xF0\x8F\xBF\xBF\"]",  // overlong
          "[\"^\xED\xA0\x80\"]", "[\"^\xF4\x90\x80\x80\"]", "[\"^\xF5\x80\x80\x80\"]",  // no code points
          "[\"^\xE2\x82\"]", "[\"^\xF0\x9F\x98", "[\"^\xF0\x9F\x98\x41\"]", "{\"^\xE9t\xE9\":1}"}},  // cut
    };
    for (const auto& [error, texts] : refused) {
        for (std::string text : texts) {
            const std::size_t place = text.find('^');
            text.erase(place, 1);
            const std::string failure = "JSON: byte " + std::to_string(place) + ": " + error;
            EXPECT_THAT([&text] { Parameters::fromJSON(text); },
                        testing::ThrowsMessage<std::runtime_error>(failure));
            EXPECT_FALSE(CoreServices::IsJson(text)) << text;
        }
    }
}

TEST(JsonReading, TextsUnderTopLevelKeysAreReadWithoutATree) {
    const std::vector<std::string_view> keys{"a", "b"};
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"({"a":"x","b":"\\\"\u00e4"})", "x", "\\\"\u00e4"},
        {R"({"c":{"a":"inner","b":["b"]},"\\a":"","\u0061" : "escaped key"})", "escaped key", ""},
        {R"({"a":"first","b":"gone","b":{"a":"inner"},"a":"last"})", "last", ""},
        {R"({"a":null,"b":1})", "", ""},
        {R"(["a","b"])", "", ""},
        {"", "", ""},
    };
    for (const auto& [json, a, b] : rows) {
        Texts texts(2, "old");
        EXPECT_TRUE(CoreServices::ReadTextsOfJson(json, keys, texts));
        EXPECT_EQ(texts, Texts({a, b})) << json;
        EXPECT_FALSE(CoreServices::ReadTextsOfJson(json + "x"s, keys, texts));
        EXPECT_EQ(texts, Texts(2)) << json;
    }
}

TEST(JsonWriting, WhateverTextsAndKeysHoldComesOutAsValidJson) {
    const std::pair<std::string_view, std::string> rows[] = {
        {"/'<>&\"\0\x01\b\t\n\v\f\r\x1F"sv, R"("/'<>&\"\u0000\u0001\b\t\n\u000b\f\r\u001f")"},
        {"a\xE9z\x80\xFF", "\"a\uFFFDz\uFFFD\uFFFD\""},  // stray bytes are replaced one by one
        {"\xE2\x82", "\"\uFFFD\uFFFD\""},
        {"\xED\xA0\x80", "\"\uFFFD\uFFFD\uFFFD\""}};
    for (const auto& [text, written] : rows) {
        Parameters tree;
        tree.SetParameter(text, text);
        EXPECT_EQ(tree.toJSON(), "{" + written + ":" + written + "}");
    }
}

TEST(JsonWriting, WithoutATreeGivesTheTextThatATreeGives) {
    EXPECT_EQ(CoreServices::JsonObjectText().Finish(), "{}");
    std::string odd;
    for (int c = 0; c < 256; ++c)
        odd.push_back(static_cast<char>(c));
    for (const std::string& text : Texts{"", "\"", "\\", odd, std::string(1000, '"'), "\u00e9\U0001F600"}) {
        auto inner = Parameters::fromJSON(R"({"n":[1e400,-0,{},[],null,true],"o":{"x":false}})");
        inner.SetParameter(text, text);
        Parameters tree;
        tree.SetParameter(text, text);
        tree.SetParameter("tree", inner.toJSON());
        tree.SetParameter("flag", true);
        tree.SetParameter("least", std::numeric_limits<std::int32_t>::min());
        CoreServices::JsonObjectText straight;
        straight.AddText(text, text);
        straight.AddTextOf("tree", inner);
        straight.AddFlag("flag", true);
        straight.AddInteger("least", std::numeric_limits<std::int32_t>::min());
        EXPECT_EQ(straight.Finish(), tree.toJSON());
    }
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

TEST(Numbers, AreWholeOrRealAndKeepTheirText) {
    const auto huge = [](const std::string& end) { return "1" + std::string(400, '0') + end; };
    const auto tiny = [](const std::string& end) { return "0." + std::string(400, '0') + end; };
    // Those that no double can hold are read as the nearest thing it can.
    const std::tuple<bool, double, Texts> rows[] = {
        {true, 0, {"0", "-0"}},
        {true, 2147483647, {"2147483647"}},
        {true, kLeast, {"-2147483648"}},
        {false, 2147483648.0, {"2147483648"}},
        {false, -2147483649.0, {"-2147483649"}},
        {false, 9007199254740992.0, {"9007199254740993"}},
        {false, 1e20, {"100000000000000000000", "1E20", "1.0e+20"}},
        {false, 1, {"1.0", huge("e-400")}},
        {false, 0.1, {"0.1000"}},
        {false, std::numeric_limits<double>::denorm_min(), {"4.9e-324"}},
        {false, std::numeric_limits<double>::max(), {"1.7976931348623157e308"}},
        {false, kInfinity, {"1e400", "1E+99999999999999999999", huge(""), huge("e-5")}},
        {false, -kInfinity, {"-1e400", "-" + tiny("1e800")}},
        {false, 0, {"0e0", "0.0e400", "0e99999999999999999999", "1e-99999999999999999999", huge("e-800")}},
        {false, 0, {"1e-400", tiny("1e+5")}},
        {false, -0.0, {"-0.0", "-1e-400"}}};
    for (const auto& [isWhole, value, tokens] : rows) {
        for (const std::string& token : tokens) {
            SCOPED_TRACE(token);
            const std::string json = "{\"n\":" + token + ",\"a\":[" + token + "]}";
            const auto tree = Parameters::fromJSON(json);
            EXPECT_EQ(tree.toJSON(), json);
            std::int32_t integer = 77;
            double real = 77;
            EXPECT_EQ(tree.GetParameter("n", integer), isWhole);
            EXPECT_EQ(tree.GetParameter("n", real), !isWhole);
            EXPECT_EQ(integer, isWhole ? value : 77);
            EXPECT_EQ(real, isWhole ? 77 : value);
            EXPECT_EQ(std::signbit(real), std::signbit(value) && !isWhole);
        }
    }
}

TEST(Numbers, ThatAreSetAreWrittenAsWhatTheyAre) {
    Parameters tree;
    tree.SetParameter("least", kLeast);
    tree.SetParameter("zero", -0.0);
    tree.SetParameter("third", 1.0 / 3);
    tree.SetParameter("large", 1e22);
    EXPECT_EQ(tree.toJSON(), R"({"least":-2147483648,"zero":-0.0,"third":0.3333333333333333,"large":1e+22})");
    for (const double bad : {kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(tree.SetParameter("bad", bad), std::invalid_argument);
    }
}

}  // namespace
