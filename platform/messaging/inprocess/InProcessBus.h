#pragma once

#include <chrono>
#include <memory>

#include "platform/messaging/ServiceInfo.h"
#include "platform/messaging/inprocess/AttachedService.h"
#include "platform/messaging/inprocess/InProcessBusSettings.h"

namespace PlatformAbstraction::Messaging {

class ServiceDirectory;

/// The bus of one process. A service is addressed by name, realm and version, a message by the name of its
/// registration; several instances of a service may be attached, which then get the requests in turn and the
/// broadcasts all. Owned by whoever started the services; what `GetMessaging` gave outlives it. Any thread
/// may call, though `Stop` on a thread of the bus would wait for itself.
class InProcessBus {
public:
    /// Throws `std::invalid_argument` for settings that let no message through.
    static std::shared_ptr<InProcessBus> Create(const InProcessBusSettings& settings = {});
    /// Stops without patience, if nobody has stopped the bus before.
    ~InProcessBus();
    InProcessBus(const InProcessBus&) = delete;
    InProcessBus& operator=(const InProcessBus&) = delete;

    /// Joins a service that has all its handlers; messages may arrive before this returns. Throws
    /// `std::invalid_argument` for a service that is not there or has no name, `std::logic_error` after
    /// `Stop`, `std::system_error` when no thread can be started.
    std::shared_ptr<AttachedService> Attach(const std::shared_ptr<ServiceInfo>& service);

    /// A sender that belongs to no service. Never empty; after `Stop` its messages fail.
    std::shared_ptr<BusMessaging> GetMessaging() const;

    /// Takes no further message from outside and returns once those under way and waiting have their answers,
    /// or when the patience is over: those still waiting are then answered with an error, and handlers still
    /// at work are left to their threads, which touch nothing that is gone. Requests that a handler at work
    /// sends are part of its work and are taken until it is done. Lets the handlers go. A second call does
    /// nothing.
    void Stop(std::chrono::steady_clock::duration patience);

private:
    explicit InProcessBus(const InProcessBusSettings& settings);

    const std::shared_ptr<ServiceDirectory> m_pDirectory;
};

}  // namespace PlatformAbstraction::Messaging
