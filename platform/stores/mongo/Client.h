#pragma once

#include <mongoc/mongoc.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/concurrency/BlockingRegion.h"
#include "platform/stores/mongo/Document.h"

namespace CommonServices {
struct MongoSettings;
}

namespace CommonServices::Mongo {

namespace Collections {
inline constexpr const char* kRecords = "records";
inline constexpr const char* kCounters = "counters";
inline constexpr const char* kLeases = "leases";
}  // namespace Collections

/// What the database or the way to it refused. The text is the operator's and holds no password.
class Fault : public std::runtime_error {
public:
    enum class Kind {
        Duplicate,  ///< there is a document with this `_id` already
        Conflict,   ///< the transaction came to nothing and may be tried anew
        InDoubt,    ///< whether the transaction was committed is not known; the commit may be repeated
        Other,
    };

    Fault(Kind kindOfFault, const std::string& text) : std::runtime_error(text), kind(kindOfFault) {}

    Kind kind;
};

/// Is shown a document, and gives whether it wants the next. (By the name without attributes, which a
/// template would drop.)
using Visit = std::function<bool(const struct _bson_t&)>;

enum class IfMissing { Leave, Insert };
/// Whether a write is told once a majority has it on disk, or once one server has taken it: for what is done
/// anew where it is lost.
enum class Durability { Majority, One };

class Clients;

/// A connection of the pool, which gets it back in the end. On one thread, which counts as waiting for
/// somebody else meanwhile. Operations throw `Fault`; each takes about half of the settings' `timeout` at
/// most, and a second attempt of the driver is part of that.
class Client {
public:
    explicit Client(Clients& clients);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Of one document; gives how many the filter has found.
    std::int64_t Update(const char* collection, const Document& filter, const Document& update,
                        IfMissing ifMissing = IfMissing::Leave);
    /// Takes steps one after the other: each updates one document, or deletes it where `update` is empty.
    /// Gives how many found theirs.
    struct Step {
        Document filter;
        Document update;
    };
    std::size_t Write(const char* collection, const std::vector<Step>& steps, Durability durability);
    /// Takes steps with one message, in whatever order: each updates the document of its filter or inserts
    /// it. Gives the places of those that were refused. Throws where it is not known of each whether it was
    /// taken.
    struct Refusal {
        std::size_t place;
        Fault fault;
    };
    std::vector<Refusal> Upsert(const char* collection, std::span<const Step* const> steps);
    void Insert(const char* collection, const Document& document);
    void Delete(const char* collection, const Document& filter);
    /// The document as it is after the update. Throws where there is none.
    Document FindAndUpdate(const char* collection, const Document& filter, const Document& update);
    /// Shows the documents one after the other, as long as `visit` gives true.
    void Find(const char* collection, const Document& filter, const Document& options, const Visit& visit);
    /// Of the database, or of the server where `isOfServer`.
    Document Command(const Document& command, bool isOfServer = false);

    /// Runs the work, whose operations on this client are then one, and tries anew what clashes with others
    /// until `deadline`.
    void InTransaction(std::chrono::steady_clock::time_point deadline, const std::function<void()>& work);

private:
    Document WithSession(Document options) const;
    void Commit(std::chrono::steady_clock::time_point deadline);
    [[noreturn]] void Fail(const bson_error_t& error, const bson_t* reply) const;
    mongoc_collection_t* Open(const char* collection) const;

    const PlatformAbstraction::BlockingRegion m_blocking;
    Clients& m_clients;
    mongoc_client_t* const m_pClient;
    mongoc_client_session_t* m_pSession = nullptr;  // of the transaction under way
};

/// The pool of connections. Any thread may call.
class Clients {
public:
    /// Throws `ObjectStoreException` where the address is none.
    explicit Clients(const MongoSettings& settings);
    ~Clients();
    Clients(const Clients&) = delete;
    Clients& operator=(const Clients&) = delete;

private:
    friend class Client;

    std::string WithoutPasswords(std::string text) const;

    const std::string m_database;
    std::vector<std::string> m_secrets;  // constant after construction
    mongoc_client_pool_t* m_pPool = nullptr;
};

/// The text with what stands between "://" and the last "@" of the word as "***".
std::string WithoutUserInfo(std::string_view text);

}  // namespace CommonServices::Mongo
