#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>
#include <thread>

#include "base/concurrency/Mutex.h"
#include "platform/stores/mongo/Announcer.h"
#include "platform/stores/mongo/Document.h"

namespace CommonServices {
struct MongoSettings;
}

namespace CommonServices::Mongo {

class Client;

/// Whether this process is the one that does something for all. It holds the lease as long as it says so in
/// time; another takes it over that has seen it unchanged for its whole life, by its own clock that measures
/// and by no clock that tells the date. Two may hold it for a moment, when one of them was stopped. One
/// thread.
class Lease {
public:
    Lease(std::string name, std::chrono::milliseconds life);

    /// Takes the lease or renews it; to be called several times in its life. Throws `Fault`.
    bool Hold(Client& client);
    /// Lets another take it at once.
    void LetGo(Client& client);

private:
    Document FilterOf(const Token& owner, std::int64_t turn) const;

    const std::string m_name;
    const std::chrono::milliseconds m_life;
    const Token m_self;
    bool m_isOurs = false;
    std::int64_t m_turn = 0;  // as it was written or seen last
    Token m_seenOwner{};
    std::chrono::steady_clock::time_point m_seenSince;
};

/// Announces what is pending for longer than its writer takes: the writer died, or the log was away. Of all
/// processes that share the database the holder of a lease does so. Has a thread of its own.
class OutboxRelay {
public:
    OutboxRelay(const MongoSettings& settings, Clients& clients, Announcer& announcer);
    ~OutboxRelay();
    OutboxRelay(const OutboxRelay&) = delete;
    OutboxRelay& operator=(const OutboxRelay&) = delete;

private:
    void Run(const std::stop_token& stop);
    void Round(const std::stop_token& stop);
    /// These two give false where the round is over.
    bool Relay(Client& client, const bson_t& document, const std::stop_token& stop);
    bool GoesOn(Client& client, const std::stop_token& stop);

    const std::chrono::milliseconds m_age;
    const std::chrono::milliseconds m_pause;
    Clients& m_clients;
    Announcer& m_announcer;
    Lease m_lease;  // of the thread, as is what follows
    std::chrono::steady_clock::time_point m_renewAt;
    std::uint64_t m_refusedBefore = 0;  // the present round
    bool m_isFailing = false;
    std::jthread m_thread;
};

}  // namespace CommonServices::Mongo
