#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// The version of the metadata worker service's operations that proxies ask for.
inline constexpr std::int32_t kMetadataWorkerVersion = 1;

/// A message that another service answers: the request is passed on as it came, and the child `results` of
/// the answer is handed back. A derived class adds its registration and nothing else. Read-only after
/// construction; a call blocks its thread for ten seconds at most.
class GenericProxyMsg : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    /// An error of the other service is answered with its words as details; a missing answer and every other
    /// failure with "Exception: " and the text.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) final;

protected:
    GenericProxyMsg(std::string realm, std::string_view service, std::int32_t version,
                    std::string_view operation);

private:
    const std::string m_realm;
    const std::string m_service;
    const std::int32_t m_version;
    const std::string m_operation;
};

}  // namespace Weftline::Services::Scheduler
