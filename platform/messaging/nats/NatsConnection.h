#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/nats/NatsSettings.h"

namespace PlatformAbstraction::Messaging {

/// One connection to a server of the bus: the client library's handles, and the order in which they end. Once
/// lost it stays so, and nothing that was written to it is written again: the library's own way of coming
/// back would send later what the sender was told had failed. Any thread may call. Its functions run on
/// threads of the library, also for a moment after the connection is closed: they hold what they use.
class NatsConnection {
public:
    struct Incoming {
        std::string_view subject;
        std::string_view reply;  ///< where an answer goes; may be empty
        std::string_view data;
        bool hasNoReceiver = false;  ///< in place of an answer: nobody listens where the message went
    };
    /// Does not wait for anything but the bus. What it throws goes to the log.
    using OnMessage = std::function<void(const Incoming&)>;

    enum class Sent {
        Yes,       ///< written; whether it arrives is not known
        Lost,      ///< the connection is gone
        TooLarge,  ///< for the server
    };

    /// To the first of the servers that can be reached, counted from `firstServer`. `onLost` is called once
    /// the connection is gone, for whatever reason. Throws `NatsBusError`.
    static std::unique_ptr<NatsConnection> Open(const NatsSettings& settings, std::size_t firstServer,
                                                const std::function<void()>& onLost);
    NatsConnection(const NatsConnection&) = delete;
    NatsConnection& operator=(const NatsConnection&) = delete;
    ~NatsConnection();

    bool IsLost() const;
    std::size_t MaxPayload() const;

    using SubscriptionNumber = std::uint64_t;

    /// Each message to the subject goes to one subscriber of the group, or, where that is empty, to all. The
    /// caller chooses the number, which no other subscription has. Throws `NatsBusError`, as does
    /// `SubscribeToInbox`.
    void Subscribe(SubscriptionNumber number, const std::string& subject, const std::string& group,
                   OnMessage onMessage);
    /// Gives what a reply subject of this connection begins with.
    std::string SubscribeToInbox(OnMessage onMessage);
    /// Returns when the server has done all that was asked of it so far. False when it has not in time.
    bool Flush(std::chrono::milliseconds patience);

    Sent Publish(const std::string& subject, const std::string& reply, std::string_view data);

    /// Gives up these of what `Subscribe` took: no further message comes, and those that came were given to
    /// their functions, when this returns or the patience is over.
    void Leave(const std::vector<SubscriptionNumber>& numbers, std::chrono::milliseconds patience);
    /// The same of all.
    void Leave(std::chrono::milliseconds patience);
    /// The same of `SubscribeToInbox`, once the server has all that was published.
    void LeaveInbox(std::chrono::milliseconds patience);
    void Close();

private:
    struct Handles;

    explicit NatsConnection(std::unique_ptr<Handles> handles);
    static std::unique_ptr<NatsConnection> OpenTo(const NatsSettings& settings, const NatsAddress& server,
                                                  const std::function<void()>& onLost);
    /// Without a number that of the inbox.
    void AddSubscription(std::optional<SubscriptionNumber> number, const std::string& subject,
                         const std::string& group, OnMessage onMessage);

    const std::unique_ptr<Handles> m_pHandles;
};

}  // namespace PlatformAbstraction::Messaging
