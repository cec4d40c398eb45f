#include "handlers/submit/IdentityLookup.h"

#include <cstdint>
#include <exception>
#include <iostream>
#include <string_view>

#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"

namespace Weftline::Services {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::MessageResultsFuture;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;

namespace {

constexpr std::int32_t kIdentityServiceVersion = 3;
constexpr std::int64_t kPatienceMicroseconds = 1'000'000;

/// One write for the whole line, so that lines of different threads do not mix; and it is one line whatever
/// the other service answered.
std::nullopt_t Report(std::string_view failure) {
    std::string line = "FetchDisplayNameFromIdentity: Failed to get display name: ";
    line.append(PlatformAbstraction::Log::OneLine(failure)).push_back('\n');
    std::cerr << line << std::flush;
    return std::nullopt;
}

ServiceMessageDispatch MakeFindPrincipal(const std::string& identityId) {
    Parameters entity;
    entity.SetParameter(Keys::Id, identityId);
    ServiceMessageDispatch dispatch(std::string(ServiceNames::Identity), std::string(Realms::Global),
                                    kIdentityServiceVersion, std::string(Operations::FindPrincipal));
    dispatch.parameters.SetChildParameters(Keys::Entity, std::move(entity));
    return dispatch;
}

std::optional<std::string> ReadDisplayName(const Parameters& results) {
    Parameters entity;
    std::string displayName;
    if (!results.GetChildParameters(Keys::Entity, entity) ||
        !entity.GetParameter(Keys::DisplayName, displayName)) {
        return Report("invalid identity response");
    }
    return displayName;
}

std::optional<std::string> AwaitDisplayName(MessageResultsFuture& future) {
    if (!future.WaitForDone(kPatienceMicroseconds) || future.HasTimedOut()) {
        return Report("query timed out");
    }
    if (future.HasError()) {
        std::string code;
        std::string message;
        return Report(future.GetErrorDetails(code, message) ? code + " : " + message : "query error");
    }
    Parameters results;
    if (!future.GetResults(results)) {
        return Report("query error");
    }
    return ReadDisplayName(results);
}

}  // namespace

std::optional<std::string> FetchDisplayNameFromIdentity(const Parameters& identity,
                                                        const std::shared_ptr<BusMessaging>& busMessaging) {
    try {
        std::string identityId;
        if (!identity.GetParameter(Keys::IdentityId, identityId)) {
            return Report("invalid identity");
        }
        const auto future = busMessaging->SendRequest(MakeFindPrincipal(identityId));
        return AwaitDisplayName(*future);
    } catch (const std::exception& failure) {
        return Report(failure.what());
    } catch (...) {
        return Report("unknown error");
    }
}

}  // namespace Weftline::Services
