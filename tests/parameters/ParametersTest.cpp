#include "base/parameters/Parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using CoreServices::Parameters;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Parameters Tree(std::string_view json) {
    return Parameters::fromJSON(json);
}

/// What the value reads as; whatever it does not read as is left as it was.
std::string ReadableAs(const Parameters& tree, const std::string& key) {
    std::string text = "before";
    bool flag = false;
    std::int32_t integer = 77;
    double real = 77;
    Parameters child = Tree(R"({"before":1})");
    std::string readable = tree.HasParameter(key) ? "" : "none";
    readable += tree.GetParameter(key, text) ? "text" : "";
    readable += tree.GetParameter(key, flag) ? "bool" : "";
    readable += tree.GetParameter(key, integer) ? "integer" : "";
    readable += tree.GetParameter(key, real) ? "real" : "";
    readable += tree.GetChildParameters(key, child) ? "child" : "";
    EXPECT_EQ(text != "before", readable == "text") << key;
    EXPECT_EQ(flag, readable == "bool") << key;
    EXPECT_EQ(integer, readable == "integer" ? 1 : 77) << key;
    EXPECT_EQ(real, readable == "real" ? 1 : 77) << key;
    EXPECT_EQ(child.HasParameter("before"), readable != "child") << key;
    EXPECT_EQ(tree.GetChildParameters(key).IsEmpty(), readable != "child") << key;
    return readable;
}

TEST(Parameters, GettersAreStrict) {
    const auto tree = Tree(R"({"text":"1","word":"true","bool":true,"int":1,"real":1.0,"null":null,)"
                           R"("object":{"a":1},"array":["1"]})");
    const std::pair<const char*, const char*> rows[] = {
        {"text", "text"}, {"word", "text"},    {"bool", "bool"},   {"int", "integer"}, {"real", "real"},
        {"null", ""},     {"object", "child"}, {"array", "child"}, {"none", "none"},   {"", "none"}};
    for (const auto& [key, readable] : rows) {
        EXPECT_EQ(ReadableAs(tree, key), readable) << key;
    }
}

TEST(Parameters, KeysKeepThePlaceOfTheirFirstSetting) {
    Parameters tree;
    tree.SetParameter("z", 1);
    tree.SetParameter("a", std::string("text"));
    tree.SetParameterNull("m");
    tree.SetParameter("z", "again");
    tree.ClearParameter("a");
    tree.ClearParameter("never there");
    tree.SetParameter("a", false);
    EXPECT_EQ(tree.toJSON(), R"({"z":"again","m":null,"a":false})");
    EXPECT_THAT(tree.GetTopLevelParameterNames(), ElementsAre("z", "m", "a"));
    EXPECT_NE(tree, Tree(R"({"m":null,"z":"again","a":false})"));
    tree.ClearParameters();
    EXPECT_EQ(tree, Parameters());
    EXPECT_TRUE(tree.IsEmpty());
}

TEST(Parameters, TextsOfAnyLengthAndContent) {
    for (const std::size_t length : {0U, 1U, 22U, 23U, 24U, 25U, 255U, 256U, 100'000U}) {
        SCOPED_TRACE(length);
        const std::string text = std::string(length / 2, '\0') + std::string(length - length / 2, 'x');
        Parameters tree;
        tree.SetParameter(text, text);
        tree.SetParameter("other", "before");
        const Parameters copy = tree;
        tree.SetParameter(text, "gone");
        std::string read;
        EXPECT_TRUE(copy.GetParameter(text, read) && read == text);
        EXPECT_TRUE(tree.GetParameter(text, read) && read == "gone");
    }
}

TEST(Parameters, ArraysUnderAKey) {
    Parameters tree;
    tree.AddArrayParameter("names", "first");
    tree.AddArrayChildParameters("names", Tree(R"({"k":2})"));
    tree.AddArrayChildParameters("names", Tree("[3]"));
    tree.SetParameter("plain", "text");
    tree.AddArrayParameter("plain", "replaced");
    tree.AddArrayParameter("emptied", "lost");
    tree.AddEmptyArray("emptied");
    EXPECT_EQ(tree.toJSON(), R"({"names":["first",{"k":2},[3]],"plain":["replaced"],"emptied":[]})");
    // An object is no array, whatever it holds.
    tree.SetChildParameters("object", Tree(R"({"0":"a"})"));
    EXPECT_EQ(tree.GetArrayNumValues("names"), 3U);
    EXPECT_EQ(tree.GetArrayNumValues("none") + tree.GetArrayNumValues("object"), 0U);

    std::string text = "before";
    Parameters child;
    EXPECT_FALSE(tree.GetArrayNthValue("names", 1, text) || tree.GetArrayNthValue("names", 3, text) ||
                 tree.GetArrayNthValue("none", 0, text) || tree.GetArrayNthValue("object", 0, text));
    EXPECT_EQ(text, "before");
    EXPECT_TRUE(tree.GetArrayNthValue("names", 0, text) && text == "first");
    EXPECT_FALSE(tree.GetArrayNthChildParameters("names", 0, child) ||
                 tree.GetArrayNthChildParameters("names", 3, child));
    EXPECT_TRUE(child.IsEmpty());
    EXPECT_TRUE(tree.GetArrayNthChildParameters("names", 1, child));
    EXPECT_EQ(child.toJSON(), R"({"k":2})");
    EXPECT_EQ(tree.GetArrayNthChildParameters("names", 2).toJSON(), "[3]");
    EXPECT_EQ(tree.GetArrayNthChildParameters("names", 9).toJSON(), "{}");
}

TEST(Parameters, ATreeThatIsAnArray) {
    auto array = Tree(R"([{"a":1},"text",[2]])");
    EXPECT_TRUE(array.IsArray());
    EXPECT_FALSE(array.IsEmpty());
    EXPECT_TRUE(Tree("[]").IsEmpty());
    EXPECT_NE(Tree("[]"), Tree("{}"));
    EXPECT_EQ(array.GetArrayNumValues(), 3U);
    const char* const elements[] = {R"({"a":1})", "{}", "[2]", "{}"};
    for (std::size_t n = 0; n < std::size(elements); ++n) {
        EXPECT_EQ(array.GetArrayNthChildParameters(n).toJSON(), elements[n]);
    }
    EXPECT_FALSE(array.HasParameter("a"));
    EXPECT_THAT(array.GetTopLevelParameterNames(), IsEmpty());
    array.ClearParameter("a");
    const auto other = Tree(R"({"k":1})");
    EXPECT_FALSE(array.CopyValue(other, "none", "k"));
    EXPECT_THROW(array.SetParameter("k", 1), std::logic_error);
    EXPECT_THROW(array.SetChildParameters("k", other), std::logic_error);
    EXPECT_THROW(array.CopyValue(other, "k", "k"), std::logic_error);
    EXPECT_THROW(array.AddArrayParameter("k", "x"), std::logic_error);
    EXPECT_THROW(array.AddEmptyArray("k"), std::logic_error);
    EXPECT_EQ(array.toJSON(), R"([{"a":1},"text",[2]])");
    array.ClearParameters();
    EXPECT_FALSE(array.IsArray());
}

TEST(Parameters, EveryKindOfValueIsCopied) {
    const auto source = Tree(R"({"t":"x","b":true,"i":1,"d":1.50,"n":null,"o":{"k":[]},"a":[1,null]})");
    Parameters target;
    for (const std::string& name : source.GetTopLevelParameterNames()) {
        EXPECT_TRUE(target.CopyValue(source, name, name));
    }
    EXPECT_FALSE(target.CopyValue(source, "none", "t"));
    EXPECT_EQ(target, source);
    EXPECT_TRUE(target.CopyValue(target, "a", "t"));
    EXPECT_EQ(target.GetChildParameters("t").toJSON(), "[1,null]");
}

TEST(Parameters, ManyKeysAreFoundAsFewAre) {
    constexpr std::int32_t kKeys = 500;
    const auto key = [](std::int32_t n) { return "k" + std::to_string(n); };
    std::string json;
    for (std::int32_t n = 0; n < 2 * kKeys; ++n) {  // each twice
        json += (n == 0 ? "{\"" : ",\"") + key(n % kKeys) + "\":" + std::to_string(n);
    }
    auto tree = Tree(json + "}");
    tree.ClearParameter("k0");
    tree.SetParameter("k0", kKeys);
    for (std::int32_t n = 0; n < kKeys; ++n) {
        std::int32_t value = 0;
        EXPECT_TRUE(tree.GetParameter(key(n), value) && value == n + kKeys) << n;
    }
    const auto names = tree.GetTopLevelParameterNames();
    EXPECT_EQ(names.size(), 500U);
    EXPECT_EQ(names.front() + names.back(), "k1k0");
}

Parameters Nested(int depth) {
    Parameters tree;
    for (int i = 0; i < depth; ++i) {
        Parameters parent;
        i % 2 == 0 ? parent.SetChildParameters("k", std::move(tree))
                   : parent.AddArrayChildParameters("k", std::move(tree));
        tree = std::move(parent);
    }
    return tree;
}

TEST(Parameters, DepthCostsNoStack) {
    constexpr int kDepth = 100'000;
    const Parameters one = Nested(kDepth);
    Parameters other = Nested(kDepth);
    EXPECT_EQ(one, other);
    EXPECT_EQ(one.toJSON(), other.toJSON());
    EXPECT_LT(one.debugString().size(), 300U * kDepth);
    other.SetParameter("l", 1);
    EXPECT_NE(one, other);
}

constexpr const char* kOriginal = R"({"a":1,"child":{"b":"a text too long to lie inside","list":["x"]}})";

TEST(Sharing, CopiesAreIndependent) {
    auto original = Tree(kOriginal);
    Parameters copy = original;
    copy.SetParameter("a", 2);
    Parameters child = copy.GetChildParameters("child");
    child.AddArrayParameter("list", "y");
    child.SetParameter("b", "other");
    EXPECT_EQ(original.toJSON(), kOriginal);
    EXPECT_EQ(copy.GetChildParameters("child"), original.GetChildParameters("child"));
    // An array that both hold is written on one side alone.
    Parameters third = child;
    third.AddArrayParameter("list", "z");
    EXPECT_EQ(child.toJSON(), R"({"b":"other","list":["x","y"]})");
    EXPECT_EQ(third.toJSON(), R"({"b":"other","list":["x","y","z"]})");
    original.ClearParameter("child");
    EXPECT_EQ(copy.toJSON(), R"({"a":2,"child":{"b":"a text too long to lie inside","list":["x"]}})");
}

TEST(Sharing, ATreeMayBePutIntoAndReadFromItself) {
    auto tree = Tree(R"({"a":1})");
    tree.SetChildParameters("self", tree);
    tree.AddArrayChildParameters("list", tree);
    EXPECT_EQ(tree.toJSON(), R"({"a":1,"self":{"a":1},"list":[{"a":1,"self":{"a":1}}]})");
    EXPECT_TRUE(tree.GetArrayNthChildParameters("list", 0, tree));
    EXPECT_TRUE(tree.GetChildParameters("self", tree));
    EXPECT_EQ(tree.toJSON(), R"({"a":1})");
    const Parameters& same = tree;
    tree = same;
    EXPECT_EQ(tree.toJSON(), R"({"a":1})");
}

TEST(Sharing, WhatWasMovedFromIsAnEmptyObject) {
    auto tree = Tree(kOriginal);
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): by promise
    const Parameters target = std::move(tree);
    EXPECT_EQ(tree, Parameters());
    tree.SetParameter("a", 1);
    EXPECT_EQ(tree.toJSON(), R"({"a":1})");
    EXPECT_EQ(target.toJSON(), kOriginal);
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST(Sharing, ThreadsMayHoldCopiesOfOneTree) {
    constexpr int kRounds = 2'000;
    const auto original = Tree(kOriginal);
    std::vector<std::thread> threads;
    Parameters shared = original;  // ends while the threads write to their copies
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([copy = shared, n]() mutable {
            const std::string text = "a text of this thread alone: " + std::to_string(n);
            for (int round = 0; round < kRounds; ++round) {
                Parameters mine = copy;
                Parameters child = mine.GetChildParameters("child");
                child.SetParameter("b", text);
                child.AddArrayParameter("list", "y");
                mine.SetChildParameters("child", std::move(child));
                ASSERT_EQ(mine.toJSON(), R"({"a":1,"child":{"b":")" + text + R"(","list":["x","y"]}})");
            }
            copy.SetParameter("a", n);
        });
    }
    shared.ClearParameters();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(original.toJSON(), kOriginal);
}

}  // namespace
