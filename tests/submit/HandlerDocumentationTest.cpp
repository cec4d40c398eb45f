#include "HandlerDocumentation.h"

#include <gtest/gtest.h>

#include "SubmitFixture.h"

namespace Weftline::Services {
namespace {

using CoreServices::Parameters;

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
    EXPECT_EQ(TextOf<std::runtime_error>([] { BuildDocumentedExample("IDR_NONE"); }),
              "IDR_NONE documentation resource not found");
}

TEST(HandlerDocumentation, TheEnvelopesStandAsDocumented) {
    const std::string placement =
        R"("jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98","clientMachine":"<client machine name>",)"
        R"("requiredWorkerMachine":"<worker machine name>","excludedWorkerMachine":"<worker machine name>",)";
    const auto withoutEmail = [](Parameters example) {
        EXPECT_EQ(example.GetChildParameters("emailSettingsParams"), BuildEmailSettingsExample());
        example.SetParameterNull("emailSettingsParams");
        return example.toJSON();
    };
    EXPECT_EQ(withoutEmail(BuildDocumentedExample("IDR_SUBMIT_SUITABLE_MASTERS_QUERY")),
              R"({"InputMetadataFilePath":"<<< INPUT METADATA FILE >>>",)"
              R"("InputMobIDs":["<<< INPUT MOB >>>","<<< INPUT MOB >>>"],"rootPath":"C:\\temp",)"
              R"("CompositionMetadataFilePath":"<<< OUTPUT METADATA FILE >>>",)"
              R"("SaveMobsMetadataFilePath":"<<< SAVE MOBS METADATA FILE >>>",)" +
                  placement + R"("emailSettingsParams":null,"JobParams":{}})");
    EXPECT_EQ(withoutEmail(BuildJobExample(Json(R"({"x":1})"))),
              R"({"rootPath":"C:\\temp","description":"Job description",)" + placement +
                  R"("emailSettingsParams":null,"jobParams":{"x":1}})");
}

TEST(HandlerDocumentation, TheEmailSettingsNameTwoRecipients) {
    const Parameters settings = BuildEmailSettingsExample();
    const std::vector<std::string> keys = {"emailSMTPServer", "emailPort", "emailFromName",
                                           "emailToAddresses", "emailFromAddress"};
    EXPECT_EQ(settings.GetTopLevelParameterNames(), keys);
    std::int32_t port = 0;
    EXPECT_TRUE(settings.GetParameter("emailPort", port));
    EXPECT_EQ(port, 22);
    EXPECT_EQ(settings.GetArrayNumValues("emailToAddresses"), 2U);
}

}  // namespace
}  // namespace Weftline::Services
