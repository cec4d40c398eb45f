#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "Parameters.h"

namespace {

using CoreServices::Parameters;

static_assert(std::is_nothrow_copy_constructible_v<Parameters> &&
              std::is_nothrow_copy_assignable_v<Parameters>);
static_assert(std::is_nothrow_move_constructible_v<Parameters> &&
              std::is_nothrow_move_assignable_v<Parameters>);
static_assert(std::is_nothrow_default_constructible_v<Parameters>);

constexpr const char* kOriginal =
    R"({"a":1,"child":{"b":"a text that is too long to lie inside","list":["x"]}})";

TEST(Sharing, CopiesAreIndependent) {
    auto original = Parameters::fromJSON(kOriginal);
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
    EXPECT_EQ(copy.toJSON(), R"({"a":2,"child":{"b":"a text that is too long to lie inside","list":["x"]}})");
}

TEST(Sharing, ATreeMayBePutIntoItself) {
    auto tree = Parameters::fromJSON(R"({"a":1})");
    tree.SetChildParameters("self", tree);
    EXPECT_EQ(tree.toJSON(), R"({"a":1,"self":{"a":1}})");
    tree.AddArrayChildParameters("list", tree);
    EXPECT_EQ(tree.toJSON(), R"({"a":1,"self":{"a":1},"list":[{"a":1,"self":{"a":1}}]})");
    EXPECT_TRUE(tree.GetArrayNthChildParameters("list", 0, tree));
    EXPECT_TRUE(tree.GetChildParameters("self", tree));
    EXPECT_EQ(tree.toJSON(), R"({"a":1})");
}

TEST(Sharing, AssigningToItselfAndMovingAway) {
    auto tree = Parameters::fromJSON(kOriginal);
    const Parameters& same = tree;
    tree = same;
    EXPECT_EQ(tree.toJSON(), kOriginal);

    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): an empty object, by promise
    Parameters target = std::move(tree);
    EXPECT_EQ(target.toJSON(), kOriginal);
    EXPECT_EQ(tree, Parameters());
    tree.SetParameter("a", 1);
    EXPECT_EQ(tree.toJSON(), R"({"a":1})");
    EXPECT_EQ(target.toJSON(), kOriginal);
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST(Sharing, ThreadsMayHoldCopiesOfOneTree) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2'000;
    const auto original = Parameters::fromJSON(kOriginal);
    std::vector<std::string> results(kThreads);
    {
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        Parameters shared = original;  // dies while the threads write to their copies
        for (int n = 0; n < kThreads; ++n) {
            threads.emplace_back(
                [copy = shared, &result = results[static_cast<std::size_t>(n)], n]() mutable {
                    for (int round = 0; round < kRounds; ++round) {
                        Parameters mine = copy;
                        Parameters child = mine.GetChildParameters("child");
                        child.SetParameter("b", "a text of this thread alone: " + std::to_string(n));
                        child.AddArrayParameter("list", "y");
                        mine.SetChildParameters("child", std::move(child));
                        result = mine.toJSON();
                    }
                    copy.SetParameter("a", n);
                });
        }
        shared.ClearParameters();
        for (std::thread& thread : threads)
            thread.join();
    }
    for (int n = 0; n < kThreads; ++n) {
        EXPECT_EQ(results[static_cast<std::size_t>(n)],
                  R"({"a":1,"child":{"b":"a text of this thread alone: )" + std::to_string(n) +
                      R"(","list":["x","y"]}})");
    }
    EXPECT_EQ(original.toJSON(), kOriginal);
}

}  // namespace
