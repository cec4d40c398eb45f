#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "Parameters.h"

namespace {

using CoreServices::Parameters;
using namespace std::string_view_literals;

std::string ErrorOf(std::string_view text) {
    try {
        Parameters::fromJSON(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "accepted";
}

std::string Nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

struct AcceptedRow {
    const char* name;
    std::string_view text;
    std::string_view written;
};

const AcceptedRow kAccepted[] = {
    {"nothing at all", "", "{}"},
    {"empty object", "{}", "{}"},
    {"empty array", "[]", "[]"},
    {"space around everything", " \t\r\n{ \"a\" : [ 1 , 2 ] , \"b\" : { } } \n", R"({"a":[1,2],"b":{}})"},
    {"all kinds of values", R"(["",0,-1.5e+3,true,false,null,{"k":[]}])",
     R"(["",0,-1.5e+3,true,false,null,{"k":[]}])"},
    {"empty key", R"({"":0})", R"({"":0})"},
    {"repeated key: last value in the first place", R"({"a":{"x":1},"b":2,"a":[3]})", R"({"a":[3],"b":2})"},
    {"keys equal only once unescaped", R"({"a":1,"\u0061":2})", R"({"a":2})"},
    {"short escapes", R"(["\"\\\/\b\f\n\r\t"])", R"(["\"\\/\b\f\n\r\t"])"},
    {"escaped NUL in key and text", R"({"\u0000":"a\u0000b"})", R"({"\u0000":"a\u0000b"})"},
    {"hexadecimal digits of both cases", R"(["\u00e9\u00E9\u20aC"])", "[\"\u00e9\u00e9\u20ac\"]"},
    {"surrogate pairs, the first and the last", R"(["\ud800\udc00\uDBFF\uDFFF"])",
     "[\"\U00010000\U0010FFFF\"]"},
    {"limits of UTF-8 lengths", "[\"\x7F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF\"]",
     "[\"\x7F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF\"]"},
    {"neighbours of the surrogates", "[\"\uD7FF\uE000\"]", "[\"\uD7FF\uE000\"]"},
    {"byte order mark inside a text", "[\"\uFEFF\"]", "[\"\uFEFF\"]"},
    {"comment signs inside a text", R"(["/*x*/ //"])", R"(["/*x*/ //"])"},
    {"special character behind a run of eight", R"(["12345678\n1234567\"123456789012345"])",
     R"(["12345678\n1234567\"123456789012345"])"},
};

TEST(JsonReading, AcceptsWhatTheGrammarAllows) {
    for (const AcceptedRow& row : kAccepted) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Parameters::fromJSON(row.text).toJSON(), row.written);
    }
}

struct RefusedRow {
    const char* name;
    std::string_view text;
    std::string_view error;  // behind "JSON: byte "
};

const RefusedRow kRefused[] = {
    // The document
    {"space alone", " \n", "2: the document ends where an object or an array was expected"},
    {"byte order mark", "\xEF\xBB\xBF{}", "0: a byte order mark is not allowed"},
    {"UTF-16", "{\0}\0"sv, "1: a key in double quotes was expected"},
    {"text as root", R"("a")", "0: an object or an array was expected"},
    {"word as root", "null", "0: an object or an array was expected"},
    {"two documents", "{}[]", "2: nothing more was expected after the end of the document"},
    {"NUL behind the end", "{}\0"sv, "2: nothing more was expected after the end of the document"},
    {"comment", "[]/**/", "2: nothing more was expected after the end of the document"},
    {"form feed as space", "[\f]", "1: a value was expected"},
    // Objects and arrays
    {"open object", "{", "1: the document ends where a key in double quotes was expected"},
    {"open array", "[", "1: the document ends where a value was expected"},
    {"open after an element", "[1", "2: the document ends where a comma or a closing bracket was expected"},
    {"comma at the end of an array", "[1,]", "3: a value was expected"},
    {"comma at the end of an object", R"({"a":1,})", "7: a key in double quotes was expected"},
    {"two commas", "[1,,2]", "3: a value was expected"},
    {"no comma in an array", "[1 2]", "3: a comma or a closing bracket was expected"},
    {"no comma in an object", R"({"a":1 "b":2})", "7: a comma or a closing brace was expected"},
    {"array closed as object", "[1}", "2: a comma or a closing bracket was expected"},
    {"object closed as array", R"({"a":1])", "6: a comma or a closing brace was expected"},
    {"colon in an array", R"(["a":1])", "4: a comma or a closing bracket was expected"},
    {"no colon", R"({"a" 1})", "5: a colon was expected"},
    {"comma for a colon", R"({"a",1})", "4: a colon was expected"},
    {"no value", R"({"a":})", "5: a value was expected"},
    {"key without quotes", "{a:1}", "1: a key in double quotes was expected"},
    {"number as key", "{1:1}", "1: a key in double quotes was expected"},
    // Words
    {"word cut short", "[tru]", "1: a value was expected"},
    {"word too long", "[nulls]", "5: a comma or a closing bracket was expected"},
    {"not a number", "[NaN]", "1: a value was expected"},
    {"infinity", "[-Infinity]", "2: a digit was expected"},
    // Numbers
    {"leading zero", "[012]", "2: a comma or a closing bracket was expected"},
    {"leading zero behind a minus", "[-01]", "3: a comma or a closing bracket was expected"},
    {"leading plus", "[+1]", "1: a value was expected"},
    {"leading point", "[.5]", "1: a value was expected"},
    {"minus alone", "[-]", "2: a digit was expected"},
    {"point at the end", "[1.]", "3: a digit was expected"},
    {"exponent without digits", "[1e]", "3: a digit was expected"},
    {"exponent with a sign alone", "[1E+]", "4: a digit was expected"},
    {"exponent with two signs", "[1e+-1]", "4: a digit was expected"},
    {"exponent with a point", "[1e1.5]", "4: a comma or a closing bracket was expected"},
    {"hexadecimal", "[0x1F]", "2: a comma or a closing bracket was expected"},
    // Texts
    {"single quotes", "['a']", "1: a value was expected"},
    {"open text", "[\"a", "3: the document ends where a closing quote was expected"},
    {"quote escaped away", R"(["\"])", "5: the document ends where a closing quote was expected"},
    {"unknown escape", R"(["\x41"])", "3: an escape character was expected"},
    {"line feed", "[\"a\nb\"]", "3: a control character must be escaped"},
    {"tab in a key", "{\"\t\":1}", "2: a control character must be escaped"},
    {"NUL in a text", "[\"\0\"]"sv, "2: a control character must be escaped"},
    {"last control character", "[\"abcdefgh\x1F\"]", "10: a control character must be escaped"},
    {"three hexadecimal digits", R"(["\u00e"])", "7: a hexadecimal digit was expected"},
    {"no hexadecimal digit", R"(["\u00g0"])", "6: a hexadecimal digit was expected"},
    {"high half alone", R"(["a\ud800"])", "3: one half of a surrogate pair stands alone"},
    {"high half and another escape", R"(["\ud800\n"])", "2: one half of a surrogate pair stands alone"},
    {"two high halves", R"(["\ud800\ud800"])", "2: one half of a surrogate pair stands alone"},
    {"low half alone", R"(["\udc00"])", "2: one half of a surrogate pair stands alone"},
    {"halves in the wrong order", R"(["\udc00\ud800"])", "2: one half of a surrogate pair stands alone"},
    {"high half and broken escape", R"(["\ud800\u12"])", "12: a hexadecimal digit was expected"},
    // UTF-8
    {"stray continuation", "[\"\x80\"]", "2: this is no valid UTF-8"},
    {"stray continuation behind an escape", "[\"\\n\xBF\"]", "4: this is no valid UTF-8"},
    {"overlong NUL", "[\"\xC0\x80\"]", "2: this is no valid UTF-8"},
    {"overlong, two bytes", "[\"\xC1\xBF\"]", "2: this is no valid UTF-8"},
    {"overlong, three bytes", "[\"\xE0\x9F\xBF\"]", "2: this is no valid UTF-8"},
    {"overlong, four bytes", "[\"\xF0\x8F\xBF\xBF\"]", "2: this is no valid UTF-8"},
    {"surrogate", "[\"\xED\xA0\x80\"]", "2: this is no valid UTF-8"},
    {"beyond the last code point", "[\"\xF4\x90\x80\x80\"]", "2: this is no valid UTF-8"},
    {"lead that never is", "[\"\xF5\x80\x80\x80\"]", "2: this is no valid UTF-8"},
    {"sequence cut by the quote", "[\"\xE2\x82\"]", "2: this is no valid UTF-8"},
    {"sequence cut by the end", "[\"\xF0\x9F\x98", "2: this is no valid UTF-8"},
    {"last byte wrong", "[\"\xF0\x9F\x98\x41\"]", "2: this is no valid UTF-8"},
    {"Latin-1 in a key", "{\"\xE9t\xE9\":1}", "2: this is no valid UTF-8"},
};

TEST(JsonReading, RefusesAllElseAndNamesThePlace) {
    for (const RefusedRow& row : kRefused) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ErrorOf(row.text), "JSON: byte " + std::string(row.error));
    }
}

TEST(JsonReading, EveryBeginningOfADocumentIsRefused) {
    constexpr std::string_view kWhole = R"({"a":[1.5e3,true,null,{"b":"\u00e9\n"}],"c":{},"d":-0})";
    ASSERT_EQ(ErrorOf(kWhole), "accepted");
    for (std::size_t length = 1; length < kWhole.size(); ++length) {
        // The text lies in memory of its own, so that a read past its end is caught.
        const std::string beginning(kWhole.substr(0, length));
        EXPECT_TRUE(ErrorOf(beginning).starts_with("JSON: byte ")) << beginning;
    }
}

TEST(JsonReading, NestsAsDeepAs512) {
    EXPECT_EQ(Parameters::fromJSON(Nested(512)).toJSON(), Nested(512));
    const std::string tooDeep = "JSON: byte 512: nesting deeper than 512 is not allowed";
    EXPECT_EQ(ErrorOf(Nested(513)), tooDeep);
    EXPECT_EQ(ErrorOf(std::string(1'000'000, '[')), tooDeep);
    std::string objects;
    for (int i = 0; i < 100'000; ++i)
        objects += "{\"\":";
    EXPECT_EQ(ErrorOf(objects), "JSON: byte 2048: nesting deeper than 512 is not allowed");
}

}  // namespace
