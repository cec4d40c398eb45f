#pragma once

#include <iostream>

#include "handlers/submit/SubmitJobHandler.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services {

using CoreServices::Parameters;
using TestSupport::Json;
using TestSupport::ScriptedAnswer;

/// An operation without a word of its own, to see what the flow does alone.
class PlainOperation final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override { return {}; }
};

/// The text of what `call` throws; "nothing" where it does not throw.
template <typename Exception, typename Call>
std::string TextOf(Call call) {
    try {
        call();
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "nothing";
}

class SubmitFixture : public TestSupport::HandlerFixture {
protected:
    /// The client key.
    std::string Submit(SubmitJobHandler& handler, const std::string& request, bool failJobDefault = true,
                       const std::string& identityId = "") {
        const TestSupport::ConsoleCapture quiet(std::cerr);
        const Parameters answer = handler.SubmitJob("kind", "evalKind", "Transcode", failJobDefault,
                                                    Json(request), TestSupport::MakeContext(bus, identityId));
        std::string clientKey;
        EXPECT_TRUE(answer.GetParameter("clientKey", clientKey));
        EXPECT_EQ(answer.toJSON(), R"({"clientKey":")" + clientKey + "\"}");
        return clientKey;
    }
    std::string Submit(const std::string& request) { return Submit(plain, request); }

    /// The record of the job that was stored last.
    Record LastJob() const { return stores.records->Records().back(); }
    /// One of the JSON texts in the private data of that job.
    Parameters Tree(std::string_view key) const {
        std::string text;
        EXPECT_TRUE(Json(LastJob().recordData).GetParameter(key, text)) << key;
        return Json(text);
    }

    PlainOperation plain{connection};
};

}  // namespace Weftline::Services
