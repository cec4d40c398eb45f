#include "handlers/support/HandlerDocumentation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "resources/EmbeddedResources.h"

namespace Weftline::Services {
namespace {

/// A store of one document, which can fail at each of its steps.
struct OneDocumentStore final : ResourceStore {
    bool loads = true;
    std::optional<std::string_view> bytes = R"({"a":1})";

    std::optional<Handle> Find(std::string_view name, std::string_view type) const override {
        return name == "DOC" && type == "RT_JSON_FILE" ? std::optional<Handle>(7) : std::nullopt;
    }
    bool Load(Handle) const override { return loads; }
    std::optional<std::string_view> Lock(Handle) const override { return bytes; }
};

TEST(HandlerDocumentation, EachStepOfReadingADocumentFailsWithItsText) {
    OneDocumentStore store;
    EXPECT_EQ(LoadJsonDocumentation("DOC", store).toJSON(), R"({"a":1})");
    const auto expectFailure = [&](const std::string& name, const std::string& text) {
        EXPECT_THAT([&] { LoadJsonDocumentation(name, store); },
                    testing::ThrowsMessage<std::runtime_error>(testing::StartsWith(text)));
    };
    expectFailure("doc", "doc documentation resource not found");
    store.bytes = "{";
    expectFailure("DOC", "JSON: ");
    store.bytes = std::nullopt;
    expectFailure("DOC", "Failed to lock render documentation");
    store.loads = false;
    expectFailure("DOC", "Failed to load render documentation");
}

// Registration reads those that a message documents; the others would be read by nobody before a client asks.
TEST(HandlerDocumentation, EachDocumentThatIsCarriedCanBeRead) {
    EXPECT_FALSE(Resources::EmbeddedResources().empty());
    for (const Resources::EmbeddedResource& resource : Resources::EmbeddedResources()) {
        EXPECT_NO_THROW(LoadJsonDocumentation(std::string(resource.name))) << resource.name;
    }
}

}  // namespace
}  // namespace Weftline::Services
