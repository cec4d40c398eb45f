#pragma once

#include <memory>
#include <optional>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/inprocess/QueuedMessage.h"

namespace PlatformAbstraction::Messaging {

class ServiceDirectory;

/// Sends over the bus of one process. The messages carry the context tree that it was made with: the one of
/// the message being answered, so that whoever is asked on a caller's behalf knows the caller, or an empty
/// one. `handled` is the message being answered, the parent of all that is sent. Outlives the bus; its
/// messages then end with an error.
class InProcessMessaging final : public BusMessaging {
public:
    InProcessMessaging(std::shared_ptr<const ServiceDirectory> directory,
                       CoreServices::Parameters contextParameters, MessageId handled = {});

    std::shared_ptr<MessageResultsFuture> SendRequest(const ServiceMessageDispatch& dispatch) override;
    std::shared_ptr<MessageResultsFuture> SendNotification(const ServiceMessageDispatch& dispatch) override;
    std::shared_ptr<MessageResultsFuture> BroadcastNotification(
        const ServiceMessageDispatch& dispatch) override;

private:
    std::unique_ptr<QueuedMessage> MakeMessage(const ServiceMessageDispatch& dispatch,
                                               QueuedMessage::Receiver receiver) const;
    /// The error, if the message was not taken.
    std::optional<MessageAnswer> Send(const ServiceMessageDispatch& dispatch,
                                      std::unique_ptr<QueuedMessage> message) const;

    const std::shared_ptr<const ServiceDirectory> m_pDirectory;
    const CoreServices::Parameters m_contextParameters;
    const MessageId m_handled;
};

}  // namespace PlatformAbstraction::Messaging
