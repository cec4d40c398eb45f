#include "Parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using CoreServices::Parameters;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct GetterRow {
    const char* key;
    bool isText, isBool, isInteger, isReal, isChild, isPresent;
};

TEST(Parameters, GettersAreStrict) {
    const auto tree =
        Parameters::fromJSON(R"({"text":"1","word":"true","bool":true,"int":1,"real":1.0,"null":null,)"
                             R"("object":{"a":1},"array":["1"]})");
    const GetterRow rows[] = {
        {"text", true, false, false, false, false, true},   {"word", true, false, false, false, false, true},
        {"bool", false, true, false, false, false, true},   {"int", false, false, true, false, false, true},
        {"real", false, false, false, true, false, true},   {"null", false, false, false, false, false, true},
        {"object", false, false, false, false, true, true}, {"array", false, false, false, false, true, true},
        {"none", false, false, false, false, false, false}, {"", false, false, false, false, false, false},
    };
    const auto marker = Parameters::fromJSON(R"({"marker":1})");
    for (const GetterRow& row : rows) {
        SCOPED_TRACE(row.key);
        std::string text = "before";
        bool flag = false;
        std::int32_t integer = 77;
        double real = 77;
        Parameters child = marker;
        EXPECT_EQ(tree.GetParameter(row.key, text), row.isText);
        EXPECT_EQ(tree.GetParameter(row.key, flag), row.isBool);
        EXPECT_EQ(tree.GetParameter(row.key, integer), row.isInteger);
        EXPECT_EQ(tree.GetParameter(row.key, real), row.isReal);
        EXPECT_EQ(tree.GetChildParameters(row.key, child), row.isChild);
        EXPECT_EQ(tree.HasParameter(row.key), row.isPresent);
        // What was not read is as it was.
        EXPECT_EQ(text == "before", !row.isText);
        EXPECT_EQ(flag, row.isBool);
        EXPECT_EQ(integer, row.isInteger ? 1 : 77);
        EXPECT_EQ(real, row.isReal ? 1 : 77);
        EXPECT_EQ(child == marker, !row.isChild);
        EXPECT_EQ(tree.GetChildParameters(row.key).IsEmpty(), !row.isChild);
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
    EXPECT_NE(tree, Parameters::fromJSON(R"({"m":null,"z":"again","a":false})"));
    tree.ClearParameters();
    EXPECT_EQ(tree, Parameters());
    EXPECT_TRUE(tree.IsEmpty());
}

TEST(Parameters, TextsOfAnyLengthAndContent) {
    for (const std::size_t length : {0U, 1U, 22U, 23U, 24U, 25U, 255U, 256U, 100'000U}) {
        SCOPED_TRACE(length);
        std::string text(length, 'x');
        if (length > 1)
            text[1] = '\0';
        Parameters tree;
        tree.SetParameter(text, text);
        tree.SetParameter("other", "before");
        const Parameters copy = tree;
        tree.SetParameter(text, "gone");
        std::string read;
        EXPECT_TRUE(copy.GetParameter(text, read));
        EXPECT_EQ(read, text);
        EXPECT_TRUE(tree.GetParameter(text, read));
        EXPECT_EQ(read, "gone");
    }
}

TEST(Parameters, ArraysUnderAKey) {
    Parameters tree;
    tree.AddArrayParameter("names", "first");
    tree.AddArrayChildParameters("names", Parameters::fromJSON(R"({"k":2})"));
    tree.AddArrayChildParameters("names", Parameters::fromJSON("[3]"));
    tree.SetParameter("plain", "text");
    tree.AddArrayParameter("plain", "replaced");
    tree.AddEmptyArray("empty");
    tree.AddArrayParameter("emptied", "lost");
    tree.AddEmptyArray("emptied");
    EXPECT_EQ(tree.toJSON(),
              R"({"names":["first",{"k":2},[3]],"plain":["replaced"],"empty":[],"emptied":[]})");

    EXPECT_EQ(tree.GetArrayNumValues("names"), 3U);
    EXPECT_EQ(tree.GetArrayNumValues("empty"), 0U);
    EXPECT_EQ(tree.GetArrayNumValues("none"), 0U);
    std::string text = "before";
    Parameters child;
    EXPECT_FALSE(tree.GetArrayNthValue("names", 1, text));
    EXPECT_FALSE(tree.GetArrayNthValue("names", 3, text));
    EXPECT_FALSE(tree.GetArrayNthValue("none", 0, text));
    EXPECT_EQ(text, "before");
    EXPECT_TRUE(tree.GetArrayNthValue("names", 0, text));
    EXPECT_EQ(text, "first");
    EXPECT_FALSE(tree.GetArrayNthChildParameters("names", 0, child));
    EXPECT_FALSE(tree.GetArrayNthChildParameters("names", 3, child));
    EXPECT_TRUE(child.IsEmpty());
    EXPECT_TRUE(tree.GetArrayNthChildParameters("names", 1, child));
    EXPECT_EQ(child.toJSON(), R"({"k":2})");
    EXPECT_EQ(tree.GetArrayNthChildParameters("names", 2).toJSON(), "[3]");
    EXPECT_EQ(tree.GetArrayNthChildParameters("names", 9).toJSON(), "{}");

    // An object under the key is no array, whatever it holds.
    tree.SetChildParameters("object", Parameters::fromJSON(R"({"0":"a"})"));
    EXPECT_EQ(tree.GetArrayNumValues("object"), 0U);
    EXPECT_FALSE(tree.GetArrayNthValue("object", 0, text));
}

TEST(Parameters, ATreeThatIsAnArray) {
    auto array = Parameters::fromJSON(R"([{"a":1},"text",[2]])");
    EXPECT_TRUE(array.IsArray());
    EXPECT_FALSE(array.IsEmpty());
    EXPECT_TRUE(Parameters::fromJSON("[]").IsEmpty());
    EXPECT_NE(Parameters::fromJSON("[]"), Parameters::fromJSON("{}"));
    EXPECT_EQ(array.GetArrayNumValues(), 3U);
    EXPECT_EQ(array.GetArrayNthChildParameters(0).toJSON(), R"({"a":1})");
    EXPECT_EQ(array.GetArrayNthChildParameters(1).toJSON(), "{}");
    EXPECT_EQ(array.GetArrayNthChildParameters(2).toJSON(), "[2]");
    EXPECT_EQ(array.GetArrayNthChildParameters(3).toJSON(), "{}");

    EXPECT_FALSE(array.HasParameter("a"));
    EXPECT_THAT(array.GetTopLevelParameterNames(), IsEmpty());
    array.ClearParameter("a");
    const auto other = Parameters::fromJSON(R"({"k":1})");
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
    const auto source =
        Parameters::fromJSON(R"({"t":"x","b":true,"i":1,"d":1.50,"n":null,"o":{"k":[]},"a":[1,null]})");
    Parameters target;
    for (const std::string& name : source.GetTopLevelParameterNames())
        EXPECT_TRUE(target.CopyValue(source, name, name));
    EXPECT_EQ(target, source);
    EXPECT_FALSE(target.CopyValue(source, "none", "t"));
    EXPECT_EQ(target, source);
    EXPECT_TRUE(target.CopyValue(target, "a", "t"));
    EXPECT_EQ(target.GetChildParameters("t").toJSON(), "[1,null]");
}

TEST(Parameters, WideObjectsFindTheirKeys) {
    // Around the sizes at which looking up changes its manner, and far beyond.
    for (const int width : {63, 64, 65, 66, 129, 257, 20'000}) {
        SCOPED_TRACE(width);
        const auto nameOf = [](int i) { return "key " + std::to_string(i); };
        Parameters built;
        std::string json = "{";
        for (int i = 0; i < width; ++i) {
            built.SetParameter(nameOf(i), i);
            json += "\"" + nameOf(i) + "\":0,\"" + nameOf(i) + "\":" + std::to_string(i) + ",";
        }
        json.back() = '}';
        auto tree = Parameters::fromJSON(json);
        EXPECT_EQ(tree, built);
        EXPECT_EQ(Parameters::fromJSON(tree.toJSON()), tree);

        tree.ClearParameter(nameOf(1));
        tree.SetParameter("new", "last");
        tree.SetParameter(nameOf(width - 1), "changed");
        EXPECT_FALSE(tree.HasParameter(nameOf(1)));
        EXPECT_FALSE(tree.HasParameter(nameOf(width)));
        EXPECT_EQ(tree.GetTopLevelParameterNames().size(), static_cast<std::size_t>(width));
        EXPECT_EQ(tree.GetTopLevelParameterNames().back(), "new");
        for (int i = 2; i < width - 1; ++i) {
            std::int32_t value = -1;
            ASSERT_TRUE(tree.GetParameter(nameOf(i), value));
            ASSERT_EQ(value, i);
        }
        EXPECT_TRUE(built.HasParameter(nameOf(1)));
    }
}

TEST(Parameters, DepthCostsNoStack) {
    constexpr int kDepth = 100'000;
    const auto build = [] {
        Parameters tree;
        for (int i = 0; i < kDepth; ++i) {
            Parameters parent;
            if (i % 2 == 0)
                parent.SetChildParameters("k", std::move(tree));
            else
                parent.AddArrayChildParameters("k", std::move(tree));
            tree = std::move(parent);
        }
        return tree;
    };
    const Parameters one = build();
    Parameters other = build();
    EXPECT_EQ(one, other);
    EXPECT_EQ(one.toJSON(), other.toJSON());
    EXPECT_EQ(one.debugString(), other.debugString());
    EXPECT_LT(one.debugString().size(), 300U * kDepth);
    other.SetParameter("l", 1);
    EXPECT_NE(one, other);
}

}  // namespace
