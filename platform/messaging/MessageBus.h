#pragma once

#include <chrono>
#include <memory>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageSink.h"
#include "platform/messaging/ServiceInfo.h"

namespace PlatformAbstraction::Messaging {

/// What services join. A service is addressed by name, realm and version, a message by the name of its
/// registration; several instances of a service may be attached, which then share the requests and hear the
/// broadcasts all. Owned by whoever started the services; what `GetMessaging` and `Attach` gave outlives it.
/// Thread-safe, though `Stop` and `Detach` on a thread of the bus would wait for themselves.
class MessageBus {
public:
    MessageBus() = default;
    MessageBus(const MessageBus&) = delete;
    MessageBus& operator=(const MessageBus&) = delete;
    virtual ~MessageBus() = default;

    /// Joins a service that has all its handlers; messages may arrive before this returns. Gives the place
    /// for messages from outside to this instance; letting it go does not detach the service. Throws
    /// `std::invalid_argument` for a service that is not there or has no name, `std::logic_error` after
    /// `Stop`, `std::system_error` when no thread can be started.
    virtual std::shared_ptr<MessageSink> Attach(const std::shared_ptr<ServiceInfo>& service) = 0;

    /// Takes the instance that `Attach` gave off the bus again: no further message goes to it, and it ends as
    /// all do at `Stop`, with the same patience for what is under way and waiting. Others may be attached in
    /// its place before and after. Without effect for one that is not there any more.
    virtual void Detach(const std::shared_ptr<MessageSink>& attached,
                        std::chrono::steady_clock::duration patience) = 0;

    /// A sender whose messages carry an empty context tree. Never empty; after `Stop` its messages fail.
    virtual std::shared_ptr<BusMessaging> GetMessaging() = 0;

    /// Takes no further message from outside and returns once those under way and waiting have their answers,
    /// or when the patience is over: those still waiting are then answered with an error, and handlers still
    /// at work are left to their threads, which touch nothing that is gone. Requests that a handler at work
    /// sends are part of its work and are taken until it is done. Lets the handlers go. Idempotent.
    virtual void Stop(std::chrono::steady_clock::duration patience) = 0;
};

}  // namespace PlatformAbstraction::Messaging
