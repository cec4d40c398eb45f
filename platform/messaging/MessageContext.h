#pragma once

#include <cstdint>
#include <memory>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Messaging {

class BusMessaging;

/// Which message was handled, among all of all processes: a mark for telling senders' work apart, which says
/// nothing of who they are.
struct MessageId {
    std::uint64_t process = 0;  ///< random, drawn at the start of the process
    std::uint64_t number = 0;   ///< counts the messages that this process has begun to handle

    /// None.
    bool IsEmpty() const { return number == 0; }
    bool operator==(const MessageId&) const = default;
};

/// An id that no other message has. Never empty. For transports, once for each message that they hand to a
/// handler; any thread may call.
MessageId NewMessageId() noexcept;

/// What a handler may know of the message it answers besides its body. Shared: detached work of a handler
/// holds it past the answer. Read-only, so any thread may ask.
class MessageContext {
public:
    /// What a transport knows of a message.
    struct Impl {
        CoreServices::Parameters contextParameters;
        std::shared_ptr<BusMessaging> busMessaging;
        MessageId parentMessage;
    };

    MessageContext(CoreServices::Parameters contextParameters, std::shared_ptr<BusMessaging> busMessaging,
                   MessageId parentMessage = {});

    /// The caller's context tree. The caller's identity, where it is known, stands as `context`.`identity`
    /// and as `identity` at the top level.
    CoreServices::Parameters GetContextParameters() const;
    std::shared_ptr<BusMessaging> GetContextBusMessaging() const;
    /// The message under whose handling this one was sent through that handler's `GetContextBusMessaging`:
    /// all that one handling sends has the same. Empty for what comes from outside or is sent outside of a
    /// handler.
    MessageId GetParentMessage() const { return m_pImpl->parentMessage; }
    std::shared_ptr<const Impl> GetImpl() const { return m_pImpl; }

private:
    std::shared_ptr<const Impl> m_pImpl;
};

}  // namespace PlatformAbstraction::Messaging
