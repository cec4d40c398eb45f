#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/BusMessaging.h"

namespace PlatformAbstraction::Messaging {

/// The messages sent over one connection whose answers have not come. An exchange that nobody waits for any
/// more is forgotten, so that answers that never come take no room for ever. Any thread may call.
class PendingAnswers {
public:
    /// Whom was asked for what.
    struct Address {
        std::string service;
        std::string realm;
        std::int32_t version = 0;
        std::string operation;
    };

    /// The number under which the answer comes; 0 after `EndAll`.
    std::uint64_t Add(const std::shared_ptr<MessageExchange>& exchange, Address address);
    /// Ends the exchange, if it is still waited for, with what `answer` makes of the address.
    void End(std::uint64_t number, const std::function<MessageAnswer(const Address&)>& answer);
    /// The connection is gone: ends all, and takes no more.
    void EndAll(const std::function<MessageAnswer(const Address&)>& answer);

private:
    struct Waiting {
        std::weak_ptr<MessageExchange> exchange;
        Address address;
    };

    void ForgetAbandoned() QUILLON_REQUIRES(m_mutex);

    Mutex m_mutex;
    std::unordered_map<std::uint64_t, Waiting> m_waiting QUILLON_GUARDED_BY(m_mutex);
    std::uint64_t m_lastNumber QUILLON_GUARDED_BY(m_mutex) = 0;
    std::size_t m_forgetAt QUILLON_GUARDED_BY(m_mutex) = 1024;  // so many wait before anybody looks
    bool m_isOver QUILLON_GUARDED_BY(m_mutex) = false;
};

}  // namespace PlatformAbstraction::Messaging
