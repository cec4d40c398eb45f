#pragma once

#include <memory>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Messaging {

class BusMessaging;

/// What a handler may know of the message it answers besides its body. Shared: detached work of a handler
/// holds it past the answer. Read-only, so any thread may ask.
class MessageContext {
public:
    /// What a transport knows of a message.
    struct Impl {
        CoreServices::Parameters contextParameters;
        std::shared_ptr<BusMessaging> busMessaging;
    };

    MessageContext(CoreServices::Parameters contextParameters, std::shared_ptr<BusMessaging> busMessaging);

    /// The caller's context tree. The caller's identity, where it is known, stands as `context`.`identity`
    /// and as `identity` at the top level.
    CoreServices::Parameters GetContextParameters() const;
    std::shared_ptr<BusMessaging> GetContextBusMessaging() const;
    std::shared_ptr<const Impl> GetImpl() const { return m_pImpl; }

private:
    std::shared_ptr<const Impl> m_pImpl;
};

}  // namespace PlatformAbstraction::Messaging
