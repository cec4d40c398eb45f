#include "RequestTarget.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace PlatformAbstraction::Rest {
namespace {

TEST(RequestTarget, ReadsQueries) {
    const struct {
        const char* query;
        const char* json;
    } rows[] = {
        {"", "{}"},
        {"&&", "{}"},
        {"a=text&b", R"({"a":"text","b":""})"},
        {"a=1&b=-2.50e%2B3&c=9007199254740993&d=1e400",
         R"({"a":1,"b":-2.50e+3,"c":9007199254740993,"d":1e400})"},
        {"a=007&b=1.&c=.5&d=-&e=0x1&f=+1&g=1e&h=NaN&i=--1",
         R"({"a":"007","b":"1.","c":".5","d":"-","e":"0x1","f":" 1","g":"1e","h":"NaN","i":"--1"})"},
        {"a=true&b=false&c=null&d=True", R"({"a":true,"b":false,"c":null,"d":"True"})"},
        {"a=%221%22&b=%22true%22&c=%22%22&d=%22&e=%22x", R"({"a":"1","b":"true","c":"","d":"\"","e":"\"x"})"},
        {"a=1,%22b%22:2", R"({"a":"1,\"b\":2"})"},
        {"a=1&b=2&a=3", R"({"a":3,"b":2})"},
        {"a+b=c+d%2Be&%61=%C3%A4", R"({"a b":"c d+e","a":"ä"})"},
        {"a=b=c", R"({"a":"b=c"})"},
    };
    for (const auto& row : rows) {
        const auto tree = ReadQuery(row.query);
        ASSERT_TRUE(tree.has_value()) << row.query;
        EXPECT_EQ(tree->toJSON(), row.json) << row.query;
    }
}

TEST(RequestTarget, RefusesQueriesThatCannotBeDecoded) {
    for (const char* query : {"a=%", "a=%4", "a=%4x", "a=%x4", "%=1", "=1", "a=%FF", "a=%C0%80",
                              "a=%ED%A0%80", "a=%F4%90%80%80", "a=%C3", "a=1&b=%zz"}) {
        EXPECT_FALSE(ReadQuery(query).has_value()) << query;
    }
}

TEST(RequestTarget, CutsPathsBeforeItDecodesThem) {
    using Segments = std::vector<std::string>;
    EXPECT_EQ(ReadPath("/"), Segments({""}));
    EXPECT_EQ(ReadPath("/a/b"), Segments({"a", "b"}));
    EXPECT_EQ(ReadPath("/a/"), Segments({"a", ""}));
    EXPECT_EQ(ReadPath("/a%2Fb/c+d%20e"), Segments({"a/b", "c+d e"}));
    EXPECT_FALSE(ReadPath("/a%2").has_value());
    EXPECT_FALSE(ReadPath("/%FF").has_value());
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
