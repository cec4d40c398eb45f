#include "SubmitFixture.h"

#include <iostream>

#include "ConsoleCapture.h"
#include "MessageContexts.h"

namespace Weftline::Services {

using CoreServices::Parameters;

Parameters Json(const std::string& text) {
    return Parameters::fromJSON(text);
}

Parameters StoredJob::Tree(std::string_view key) const {
    std::string text;
    EXPECT_TRUE(privateData.GetParameter(key, text)) << key;
    return Json(text);
}

std::string SubmitFixture::Submit(SubmitJobHandler& handler, const std::string& requestJson,
                                  bool failJobDefault) {
    const TestSupport::ConsoleCapture quiet(std::cerr);
    const Parameters answer = handler.SubmitJob("kind", "evalKind", "Transcode", failJobDefault,
                                                Json(requestJson), TestSupport::MakeAnonymousContext(bus));
    std::string clientKey;
    EXPECT_TRUE(answer.GetParameter("clientKey", clientKey));
    EXPECT_EQ(answer.GetTopLevelParameterNames().size(), 1U);
    return clientKey;
}

StoredJob SubmitFixture::OnlyJob() const {
    for (const Record& record : stores.records->Records()) {
        if (record.recordTopic == "V2_WFJobs") {
            return {record, Json(record.recordData), Json(record.recordPublicData)};
        }
    }
    throw std::logic_error("no job was stored");
}

}  // namespace Weftline::Services
