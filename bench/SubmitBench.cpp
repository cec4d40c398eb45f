// What one submission costs beside the time of the stores and of other services: the stores here take
// everything and keep nothing, and the identity service answers at once.
#include <benchmark/benchmark.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "handlers/submit/SubmitHandlers.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/StoreChoice.h"

namespace {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::MessageExchange;
using PlatformAbstraction::Messaging::MessageResultsFuture;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using Weftline::Record;

class ForgetfulRecordStore final : public CommonServices::RecordStore {
public:
    bool UpsertOne(const Record& record) override {
        benchmark::DoNotOptimize(record.recordData.data());
        return true;
    }
    CommonServices::ReplaceOutcome ReplaceIf(const std::optional<Record>&, const Record& next) override {
        benchmark::DoNotOptimize(next.recordData.data());
        return CommonServices::ReplaceOutcome::Replaced;
    }
    std::optional<Record> FindByID(const std::string&, const std::string&) override { return std::nullopt; }
    std::vector<Record> FindRecordsOfType(const std::string&, const std::string&, std::int32_t,
                                          std::int32_t) override {
        return {};
    }
    std::vector<Record> FindRecordsWithReferencedID(const std::string&, const std::string&,
                                                    const std::string&, const std::string&, std::int32_t,
                                                    std::int32_t) override {
        return {};
    }
    bool DeleteMany(const std::vector<std::string>&) override { return true; }
};

class ForgetfulEventLog final : public CommonServices::EventLog {
public:
    bool Produce(const Record& record, bool) override {
        benchmark::DoNotOptimize(record.recordData.data());
        return true;
    }
    std::vector<CommonServices::LoggedEvent> Read(const std::string&, std::int64_t, std::size_t,
                                                  const CommonServices::EventWait&) override {
        return {};
    }
};

/// Knows everybody, by the same name.
class PromptIdentityService final : public PlatformAbstraction::Messaging::BusMessaging {
public:
    std::shared_ptr<MessageResultsFuture> SendRequest(const ServiceMessageDispatch&) override {
        auto exchange = std::make_shared<MessageExchange>();
        exchange->End(MessageAnswer::OfResults(m_answer));
        return std::make_shared<MessageResultsFuture>(std::move(exchange));
    }
    std::shared_ptr<MessageResultsFuture> SendNotification(const ServiceMessageDispatch& dispatch) override {
        return SendRequest(dispatch);
    }
    std::shared_ptr<MessageResultsFuture> BroadcastNotification(
        const ServiceMessageDispatch& dispatch) override {
        return SendRequest(dispatch);
    }

private:
    const Parameters m_answer = Parameters::fromJSON(R"({"entity":{"displayName":"Ada"}})");
};

/// Submits the documented HD transcode, a request of about 2 KB, as `context` says.
void SubmitTranscode(benchmark::State& state, const char* contextJson) {
    CommonServices::StoreChoice::SetRecords(std::make_shared<ForgetfulRecordStore>());
    CommonServices::StoreChoice::SetEvents(std::make_shared<ForgetfulEventLog>());
    std::streambuf* const console = std::cerr.rdbuf(nullptr);  // an unknown caller is reported there

    Weftline::Services::Scheduler::SubmitTranscodeHandler handler(nullptr);
    const auto context = std::make_shared<MessageContext>(Parameters::fromJSON(contextJson),
                                                          std::make_shared<PromptIdentityService>());
    const std::string request = Weftline::Services::BuildDocumentedExample("IDR_TRANSCODE_HD").toJSON();
    for ([[maybe_unused]] auto step : state) {
        const Parameters answer =
            handler.SubmitJob("orvik.quillon.transcode", "orvik.quillon.task.metadata.transcode", "Transcode",
                              true, Parameters::fromJSON(request), context);
        benchmark::DoNotOptimize(answer.IsEmpty());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(request.size()));

    std::cerr.rdbuf(console);
    std::cerr.clear();
    CommonServices::StoreChoice::SetEvents(nullptr);
    CommonServices::StoreChoice::SetRecords(nullptr);
}

BENCHMARK_CAPTURE(SubmitTranscode, anonymous, "{}");
BENCHMARK_CAPTURE(SubmitTranscode, known_caller, R"({"context":{"identity":{"identityId":"id-1"}}})");

}  // namespace
