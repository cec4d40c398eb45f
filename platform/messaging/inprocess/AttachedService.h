#pragma once

#include <memory>
#include <string_view>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageSink.h"

namespace PlatformAbstraction::Messaging {

class ServiceDirectory;
class ServiceEndpoint;

/// One instance of a service on the bus of one process, for whoever attached it: the place for messages from
/// outside, and the service's own way to talk. Letting it go does not detach the service. After the bus has
/// stopped it takes nothing. Any thread may call.
class AttachedService final : public MessageSink {
public:
    AttachedService(std::shared_ptr<const ServiceDirectory> directory,
                    std::shared_ptr<ServiceEndpoint> endpoint);

    void Deliver(std::string_view operation, CoreServices::Parameters request,
                 CoreServices::Parameters contextParameters, AnswerCallback onAnswer) override;

    /// Its messages carry an empty context tree.
    std::shared_ptr<BusMessaging> GetMessaging() const;

private:
    const std::shared_ptr<const ServiceDirectory> m_pDirectory;
    const std::shared_ptr<ServiceEndpoint> m_pEndpoint;
};

}  // namespace PlatformAbstraction::Messaging
