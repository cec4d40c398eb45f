#include "base/parameters/Parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using CoreServices::Parameters;
using testing::ElementsAre;

Parameters Tree(std::string_view json) {
    return Parameters::fromJSON(json);
}

TEST(Parameters, GettersAreStrictAndLeaveTheRestAsItWas) {
    const auto tree = Tree(R"({"text":"1","word":"true","bool":true,"int":1,"real":1.0,"null":null,)"
                           R"("object":{"a":1},"array":["1"]})");
    const std::pair<const char*, std::string> rows[] = {
        {"text", "text"}, {"word", "text"},    {"bool", "bool"},   {"int", "integer"}, {"real", "real"},
        {"null", ""},     {"object", "child"}, {"array", "child"}, {"none", ""},       {"", ""}};
    for (const auto& [key, kind] : rows) {
        SCOPED_TRACE(key);
        std::string text = "before";
        bool flag = false;
        std::int32_t integer = 77;
        double real = 77;
        Parameters child = Tree(R"({"before":1})");
        EXPECT_EQ(tree.GetParameter(key, text), kind == "text");
        EXPECT_EQ(tree.GetParameter(key, flag), kind == "bool");
        EXPECT_EQ(tree.GetParameter(key, integer), kind == "integer");
        EXPECT_EQ(tree.GetParameter(key, real), kind == "real");
        EXPECT_EQ(tree.GetChildParameters(key, child), kind == "child");
        EXPECT_EQ(text == "before" && integer == 77 && real == 77 && !flag && child.HasParameter("before"),
                  kind.empty());
    }
    EXPECT_TRUE(tree.HasParameter("null") && !tree.HasParameter("none"));
}

TEST(Parameters, KeysKeepThePlaceOfTheirFirstSettingFewOrMany) {
    auto few = Tree(R"({"z":1,"a":"text","m":null})");
    few.SetParameter("z", "again");
    few.ClearParameter("a");
    few.ClearParameter("never there");
    few.SetParameter("a", false);
    EXPECT_EQ(few.toJSON(), R"({"z":"again","m":null,"a":false})");
    EXPECT_NE(few, Tree(R"({"m":null,"z":"again","a":false})"));

    constexpr std::int32_t kKeys = 500;
    const auto key = [](std::int32_t n) { return "k" + std::to_string(n % kKeys); };
    std::string json = "{";
    for (std::int32_t n = 0; n < 2 * kKeys; ++n) {  // each twice
        json += "\"" + key(n) + "\":" + std::to_string(n) + ",";
    }
    auto many = Tree(json + R"("last":0})");
    many.ClearParameter("k0");
    many.SetParameter("k0", kKeys);
    const auto names = many.GetTopLevelParameterNames();
    EXPECT_EQ(names.front() + names.back() + std::to_string(names.size()), "k1k0501");
    for (std::int32_t n = 0; n < kKeys; ++n) {
        std::int32_t value = 0;
        EXPECT_TRUE(many.GetParameter(key(n), value) && value == n + kKeys) << n;
    }
}

TEST(Parameters, TextsOfAnyLengthAndContent) {
    for (const std::size_t length : {0U, 1U, 22U, 23U, 24U, 25U, 255U, 256U, 100'000U}) {
        SCOPED_TRACE(length);
        const std::string text = std::string(length / 2, '\0') + std::string(length - length / 2, 'x');
        Parameters tree;
        tree.SetParameter(text, text);
        const Parameters copy = tree;
        tree.SetParameter(text, "gone");
        std::string read;
        EXPECT_TRUE(copy.GetParameter(text, read) && read == text);
        EXPECT_TRUE(tree.GetParameter(text, read) && read == "gone");
    }
}

TEST(Parameters, ArraysUnderAKey) {
    auto tree = Tree(R"({"plain":"text","emptied":["lost"],"object":{"0":"a"}})");
    tree.AddArrayParameter("names", "first");
    tree.AddArrayChildParameters("names", Tree(R"({"k":2})"));
    tree.AddArrayChildParameters("names", Tree("[3]"));
    tree.AddArrayParameter("plain", "replaced");
    tree.AddEmptyArray("emptied");
    EXPECT_EQ(tree.toJSON(), R"({"plain":["replaced"],"emptied":[],"object":{"0":"a"},)"
                             R"("names":["first",{"k":2},[3]]})");
    EXPECT_EQ(tree.GetArrayNumValues("names"), 3U);
    EXPECT_EQ(tree.GetArrayNumValues("none") + tree.GetArrayNumValues("object"), 0U);

    std::string text = "before";
    Parameters child;
    EXPECT_FALSE(tree.GetArrayNthValue("names", 1, text) || tree.GetArrayNthValue("names", 3, text) ||
                 tree.GetArrayNthValue("none", 0, text) || tree.GetArrayNthValue("object", 0, text) ||
                 tree.GetArrayNthChildParameters("names", 0, child) ||
                 tree.GetArrayNthChildParameters("names", 3, child));
    EXPECT_EQ(text + child.toJSON(), "before{}");
    EXPECT_TRUE(tree.GetArrayNthValue("names", 0, text) &&
                tree.GetArrayNthChildParameters("names", 1, child));
    EXPECT_EQ(text + child.toJSON(), R"(first{"k":2})");
    EXPECT_EQ(tree.GetArrayNthChildParameters("names", 2).toJSON(), "[3]");
}

TEST(Parameters, ATreeThatIsAnArrayHoldsNoKeys) {
    EXPECT_NE(Tree("[]"), Tree("{}"));
    auto array = Tree(R"([{"a":1},"text",[2]])");
    EXPECT_TRUE(array.IsArray() && array.GetArrayNumValues() == 3 && !array.HasParameter("a"));
    EXPECT_EQ(array.GetArrayNthChildParameters(1), Tree("{}"));
    EXPECT_EQ(array.GetArrayNthChildParameters(2), Tree("[2]"));
    array.ClearParameter("a");
    EXPECT_FALSE(array.CopyValue(Tree("{}"), "none", "k"));
    EXPECT_THROW(array.SetParameter("k", 1), std::logic_error);
    EXPECT_THROW(array.AddArrayParameter("k", "x"), std::logic_error);
    EXPECT_EQ(array.toJSON(), R"([{"a":1},"text",[2]])");
}

TEST(Parameters, ATreeMayBePutIntoAndReadFromItself) {
    auto tree = Tree(R"({"a":1.50})");
    tree.SetChildParameters("self", tree);
    tree.AddArrayChildParameters("list", tree);
    EXPECT_TRUE(tree.CopyValue(tree, "self", "a"));
    EXPECT_EQ(tree.toJSON(), R"({"a":{"a":1.50},"self":{"a":1.50},"list":[{"a":1.50,"self":{"a":1.50}}]})");
    EXPECT_TRUE(tree.GetArrayNthChildParameters("list", 0, tree) && tree.GetChildParameters("self", tree));
    EXPECT_EQ(tree.toJSON(), R"({"a":1.50})");
}

TEST(Parameters, DepthCostsNoStack) {
    constexpr int kDepth = 100'000;
    Parameters trees[2];
    for (Parameters& tree : trees) {
        for (int i = 0; i < kDepth; ++i) {
            Parameters parent;
            i % 2 == 0 ? parent.SetChildParameters("k", std::move(tree))
                       : parent.AddArrayChildParameters("k", std::move(tree));
            tree = std::move(parent);
        }
    }
    EXPECT_EQ(trees[0], trees[1]);
    EXPECT_EQ(trees[0].toJSON(), trees[1].toJSON());
    EXPECT_LT(trees[0].debugString().size(), 300U * kDepth);
}

constexpr const char* kOriginal = R"({"a":1,"child":{"b":"a text too long to lie inside","list":["x"]}})";

TEST(Sharing, CopiesAreIndependent) {
    auto original = Tree(kOriginal);
    Parameters copy = original;
    Parameters child = copy.GetChildParameters("child");
    child.AddArrayParameter("list", "y");
    Parameters third = child;  // with an array that both hold
    third.AddArrayParameter("list", "z");
    third.SetParameter("b", "other");
    EXPECT_EQ(original.toJSON(), kOriginal);
    EXPECT_EQ(child.toJSON(), R"({"b":"a text too long to lie inside","list":["x","y"]})");
    EXPECT_EQ(third.toJSON(), R"({"b":"other","list":["x","y","z"]})");
    original.ClearParameter("child");
    EXPECT_EQ(copy.toJSON(), kOriginal);
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): empty by promise
    const Parameters target = std::move(copy);
    EXPECT_EQ(copy, Parameters());
    copy.SetParameter("a", 1);
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(target.toJSON(), kOriginal);
}

TEST(Sharing, ThreadsMayHoldCopiesOfOneTree) {
    const auto original = Tree(kOriginal);
    Parameters shared = original;  // ends while the threads write to their copies
    std::vector<std::jthread> threads;
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([copy = shared, text = "of thread " + std::to_string(n)]() mutable {
            for (int round = 0; round < 2'000; ++round) {
                Parameters mine = copy;
                Parameters child = mine.GetChildParameters("child");
                child.SetParameter("b", text);
                child.AddArrayParameter("list", "y");
                mine.SetChildParameters("child", std::move(child));
                ASSERT_EQ(mine.toJSON(), R"({"a":1,"child":{"b":")" + text + R"(","list":["x","y"]}})");
            }
            copy.SetParameter("a", text);
        });
    }
    shared.ClearParameters();
    threads.clear();
    EXPECT_EQ(original.toJSON(), kOriginal);
}

}  // namespace
