#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "handlers/results/FindMessage.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// A find message that looks into its results and answers through a response.
struct FormatResults {
    FindMessage message;
    /// Answers from the texts of results that are in the store no more.
    void (*answer)(const std::vector<std::string>& results, const CoreServices::Parameters& request,
                   PlatformAbstraction::Messaging::ServiceMessageResponse& response);
};

extern const FormatResults kVideoFormatResults;  ///< one page of them
extern const FormatResults kAudioFormatResults;
extern const FormatResults kExportTypeResults;  ///< equal ones once

/// Deletes the results before it looks at them, so that a query is fetched once whatever is wrong with its
/// results or with the request. Where there are none the answer is OK with the status "FAILED". A
/// `std::exception` from anywhere is answered with "Exception: " and its text. Gives true.
bool RespondWithFormatResults(const FormatResults& row, const CoreServices::Parameters& request,
                              PlatformAbstraction::Messaging::ServiceMessageResponse& response);

/// Keeps nothing of a request.
template <const FormatResults& kRow>
class FindFormatResultsHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit FindFormatResultsHandler(std::string realm) : m_realm(std::move(realm)) {}

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override {
        return DescribeFindMessage(kRow.message);
    }
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override {
        return RespondWithFormatResults(kRow, request, response);
    }

private:
    const std::string m_realm;  // where the service is registered; the store knows no realms
};

using FindVideoFormatsHandler = FindFormatResultsHandler<kVideoFormatResults>;
using FindAudioFormatsHandler = FindFormatResultsHandler<kAudioFormatResults>;
using FindExportTypesHandler = FindFormatResultsHandler<kExportTypeResults>;

}  // namespace Weftline::Services::Scheduler
