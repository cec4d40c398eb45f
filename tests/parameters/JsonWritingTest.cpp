#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "Parameters.h"

namespace {

using CoreServices::Parameters;
using namespace std::string_view_literals;

struct TextRow {
    const char* name;
    std::string_view text;
    std::string_view written;
};

const TextRow kTexts[] = {
    {"empty", "", R"("")"},
    {"only what must be is escaped", "/'<>&\x7F", "\"/'<>&\x7F\""},
    {"quote and backslash", R"(C:\"x")", R"("C:\\\"x\"")"},
    {"controls", "\0\x01\b\t\n\v\f\r\x1F"sv, R"("\u0000\u0001\b\t\n\u000b\f\r\u001f")"},
    {"UTF-8 stays", "\u00e9\u20ac\U0001F600", "\"\u00e9\u20ac\U0001F600\""},
    {"stray bytes are replaced one by one", "a\xE9z\x80\xFF", "\"a\uFFFDz\uFFFD\uFFFD\""},
    {"sequence that never ends", "\xE2\x82", "\"\uFFFD\uFFFD\""},
    {"surrogate", "\xED\xA0\x80", "\"\uFFFD\uFFFD\uFFFD\""},
};

TEST(JsonWriting, TextsAndKeysComeOutAsValidJson) {
    for (const TextRow& row : kTexts) {
        SCOPED_TRACE(row.name);
        Parameters tree;
        tree.SetParameter(row.text, row.text);
        const std::string json = tree.toJSON();
        EXPECT_EQ(json, "{" + std::string(row.written) + ":" + std::string(row.written) + "}");
        EXPECT_EQ(Parameters::fromJSON(json).toJSON(), json);
    }
}

TEST(JsonWriting, WhatWasWrittenReadsBackEqual) {
    Parameters tree;
    tree.SetParameter("text", "line\nline");
    tree.SetParameter("truth", true);
    tree.SetParameter("whole", -7);
    tree.SetParameter("real", 0.1);
    tree.SetParameterNull("nothing");
    tree.SetChildParameters("child", tree);
    tree.AddEmptyArray("empty");
    tree.AddArrayParameter("array", "a");
    tree.AddArrayChildParameters("array", tree);
    tree.AddArrayChildParameters("array", Parameters::fromJSON("[[]]"));
    EXPECT_EQ(Parameters::fromJSON(tree.toJSON()), tree);
    // What people are shown is the same tree in another layout.
    EXPECT_EQ(Parameters::fromJSON(tree.debugString()), tree);
}

TEST(JsonWriting, PeopleSeeItIndented) {
    const auto tree = Parameters::fromJSON(R"({"a":1,"b":{"c":["x",null]},"d":{},"e":[]})");
    EXPECT_EQ(tree.debugString(), R"({
  "a": 1,
  "b": {
    "c": [
      "x",
      null
    ]
  },
  "d": {},
  "e": []
})");
}

}  // namespace
