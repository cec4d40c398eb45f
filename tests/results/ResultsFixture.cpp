#include "ResultsFixture.h"

#include <exception>

#include "MessageContexts.h"
#include "wf_Record.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using PlatformAbstraction::Messaging::ServiceMessageHandler;
using PlatformAbstraction::Messaging::ServiceMessageHandlerV2;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

void ResultsFixture::Store(const std::string& collection, const std::string& type, const std::string& data,
                           const std::string& publicJson, std::int32_t version) {
    Record record(type, version, collection);
    record.recordID = "id-" + std::to_string(m_nextId++);
    record.recordData = data;
    record.recordPublicData = publicJson;
    ASSERT_TRUE(stores.records->Upsert(record));
}

void ResultsFixture::StoreResult(const std::string& collection, const std::string& type,
                                 const std::string& data) {
    Store(collection, type, data, R"({"queryID":"q"})");
}

std::string ResultsFixture::Answer(ServiceMessageHandler& handler, const std::string& requestJson) {
    ServiceMessageResponse response;
    EXPECT_TRUE(handler.HandleMessage(TestSupport::MakeAnonymousContext(bus),
                                      Parameters::fromJSON(requestJson), response));
    const auto answer = response.TakeAnswer();
    if (!answer) {
        return "nothing";
    }
    switch (answer->kind) {
        case MessageAnswer::Kind::Results:
            return "OK " + answer->results.toJSON();
        case MessageAnswer::Kind::Text:
            return "TEXT " + answer->text;
        case MessageAnswer::Kind::Error:
            break;
    }
    return answer->code + ": " + answer->message + " " + answer->details.toJSON();
}

std::string ResultsFixture::Answer(ServiceMessageHandlerV2& handler, const std::string& requestJson) {
    try {
        return handler
            .HandleMessageV2(Parameters::fromJSON(requestJson), TestSupport::MakeAnonymousContext(bus))
            .toJSON();
    } catch (const std::exception& failure) {
        return std::string("thrown: ") + failure.what();
    }
}

}  // namespace Weftline::Services::Scheduler
