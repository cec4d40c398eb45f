#include "HandlerDocumentation.h"

#include "EmbeddedResources.h"
#include "SubmitDataExtractHandler.h"
#include "SubmitDynamicRelinkHandler.h"
#include "SubmitFixture.h"
#include "SubmitMixdownHandler.h"
#include "SubmitRenderHandler.h"
#include "SubmitSourceAvailabilityQueryHandler.h"
#include "SubmitSuitableMastersQueryHandler.h"
#include "SubmitTranscodeHandler.h"

namespace Weftline::Services {
namespace {

/// A store of one document, which can fail at each of its steps.
class OneDocumentStore final : public ResourceStore {
public:
    bool loads = true;
    std::optional<std::string_view> bytes = R"({"a":1})";

    std::optional<Handle> Find(std::string_view name, std::string_view type) const override {
        return name == "DOC" && type == "RT_JSON_FILE" ? std::optional<Handle>(7) : std::nullopt;
    }
    bool Load(Handle) const override { return loads; }
    std::optional<std::string_view> Lock(Handle resource) const override {
        return resource == 7 ? bytes : std::nullopt;
    }
};

TEST(HandlerDocumentation, EachStepOfReadingADocumentFailsWithItsText) {
    OneDocumentStore store;
    const auto failureOf = [&](const std::string& name) {
        return TextOf<std::runtime_error>([&] { LoadJsonDocumentation(name, store); });
    };
    EXPECT_EQ(LoadJsonDocumentation("DOC", store).toJSON(), R"({"a":1})");
    EXPECT_EQ(failureOf("doc"), "doc documentation resource not found");
    store.bytes = "{";
    EXPECT_NE(failureOf("DOC"), "nothing");
    store.bytes = std::nullopt;
    EXPECT_EQ(failureOf("DOC"), "Failed to lock render documentation");
    store.loads = false;
    EXPECT_EQ(failureOf("DOC"), "Failed to load render documentation");
}

TEST(HandlerDocumentation, EighteenDocumentsAreCarriedSortedAndReadable) {
    const auto resources = Resources::EmbeddedResources();
    EXPECT_EQ(resources.size(), 18U);
    EXPECT_TRUE(std::is_sorted(resources.begin(), resources.end(),
                               [](const auto& left, const auto& right) { return left.name < right.name; }));
    for (const Resources::EmbeddedResource& resource : resources) {
        EXPECT_NO_THROW(LoadJsonDocumentation(std::string(resource.name))) << resource.name;
    }
}

TEST(HandlerDocumentation, EachOperationShowsItsOwnDocuments) {
    const auto check = [](const SubmitJobHandler& handler, const std::vector<std::string>& names) {
        const auto registration = handler.GetRegistrationParams();
        ASSERT_EQ(registration.examples.size(), names.size()) << registration.name;
        for (std::size_t n = 0; n < names.size(); ++n) {
            EXPECT_EQ(registration.examples[n].request.GetChildParameters("JobParams"),
                      LoadJsonDocumentation("IDR_" + names[n]));
        }
    };
    using namespace Scheduler;
    check(SubmitTranscodeHandler(nullptr), {"TRANSCODE_SD", "TRANSCODE_HD", "TRANSCODE_UHD"});
    check(SubmitMixdownHandler(nullptr), {"MIXDOWN_SD", "MIXDOWN_HD", "MIXDOWN_UHD"});
    check(SubmitRenderHandler(nullptr),
          {"VIDEO_PRECOMPUTE_SD", "VIDEO_PRECOMPUTE_HD", "VIDEO_PRECOMPUTE_UHD"});
    check(SubmitDynamicRelinkHandler(nullptr), {"DR_HIGHEST_QUALITY", "DR_SPECIFIC_RESOLUTION"});
    check(SubmitDataExtractHandler(nullptr), {"DATAEXTRACT_HD"});
    check(SubmitSourceAvailabilityQueryHandler(nullptr), {"SOURCE_AVAILABILITY"});
    check(SubmitSuitableMastersQueryHandler(nullptr), {"SUBMIT_SUITABLE_MASTERS_QUERY"});
}

}  // namespace
}  // namespace Weftline::Services
