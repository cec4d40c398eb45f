#include "platform/stores/mongo/Client.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/mongo/MongoStore.h"

namespace CommonServices::Mongo {

namespace {

template <auto kDestroy>
struct Destroyer {
    template <typename Handle>
    void operator()(Handle* handle) const noexcept {
        kDestroy(handle);
    }
};
using Uri = std::unique_ptr<mongoc_uri_t, Destroyer<mongoc_uri_destroy>>;
using Collection = std::unique_ptr<mongoc_collection_t, Destroyer<mongoc_collection_destroy>>;
using Cursor = std::unique_ptr<mongoc_cursor_t, Destroyer<mongoc_cursor_destroy>>;
using Bulk = std::unique_ptr<mongoc_bulk_operation_t, Destroyer<mongoc_bulk_operation_destroy>>;
using Session = std::unique_ptr<mongoc_client_session_t, Destroyer<mongoc_client_session_destroy>>;
using FindAndModifyOptions =
    std::unique_ptr<mongoc_find_and_modify_opts_t, Destroyer<mongoc_find_and_modify_opts_destroy>>;
using WriteConcern = std::unique_ptr<mongoc_write_concern_t, Destroyer<mongoc_write_concern_destroy>>;
using ReadConcern = std::unique_ptr<mongoc_read_concern_t, Destroyer<mongoc_read_concern_destroy>>;
using ReadPreference = std::unique_ptr<mongoc_read_prefs_t, Destroyer<mongoc_read_prefs_destroy>>;

// An operation may wait for a connection and for a server, and for the answer twice, since the driver tries
// once more what a failing server left open. Each gets a part of the time.
constexpr int kWaits = 4;
// Whoever was faster has to come to an end.
constexpr std::chrono::milliseconds kAfterConflict{5};

void TellOperator(mongoc_log_level_t level, const char* domain, const char* message, void* /*context*/) {
    const std::string text = std::string(domain) + ": " + WithoutUserInfo(message);
    if (level <= MONGOC_LOG_LEVEL_CRITICAL) {
        PlatformAbstraction::Log::Warning(text);
    } else if (level <= MONGOC_LOG_LEVEL_WARNING) {
        PlatformAbstraction::Log::Debug(text);
    }
}

void StartDriver() {
    // Never taken down: detached threads may still use it while the process ends.
    static const bool isStarted = [] {
        mongoc_log_set_handler(TellOperator, nullptr);
        mongoc_init();
        return true;
    }();
    static_cast<void>(isStarted);
}

// What the address itself says stays where it asks for less patience.
void Shorten(mongoc_uri_t& uri, const char* option, std::chrono::milliseconds wanted) {
    const auto longest = static_cast<std::int32_t>(wanted.count());
    const std::int32_t given = mongoc_uri_get_option_as_int32(&uri, option, longest);
    mongoc_uri_set_option_as_int32(&uri, option, given > 0 ? std::min(given, longest) : longest);
}

Uri UriOf(const MongoSettings& settings) {
    bson_error_t error{};
    Uri uri(mongoc_uri_new_with_error(settings.uri.c_str(), &error));
    if (uri == nullptr) {
        // The driver's text may repeat any part of what it could not read.
        throw ObjectStoreException(
            "mongo-uri is no address of a MongoDB database; write it as "
            "mongodb://HOST:PORT/?replicaSet=NAME, "
            "with signs such as @ : / in a name or password as %40 %3A %2F");
    }
    const auto wait = settings.timeout / kWaits;
    for (const char* option : {MONGOC_URI_SERVERSELECTIONTIMEOUTMS, MONGOC_URI_CONNECTTIMEOUTMS,
                               MONGOC_URI_SOCKETTIMEOUTMS, MONGOC_URI_WAITQUEUETIMEOUTMS}) {
        Shorten(*uri, option, wait);
    }
    if (!mongoc_uri_has_option(uri.get(), MONGOC_URI_MAXPOOLSIZE)) {
        mongoc_uri_set_option_as_int32(uri.get(), MONGOC_URI_MAXPOOLSIZE, settings.connections);
    }
    const WriteConcern write(mongoc_write_concern_new());
    mongoc_write_concern_set_wmajority(write.get(), static_cast<std::int32_t>(wait.count()));
    mongoc_write_concern_set_journal(write.get(), true);
    mongoc_uri_set_write_concern(uri.get(), write.get());
    // What a majority has not got may be undone, and an event must not be announced for it.
    const ReadConcern read(mongoc_read_concern_new());
    mongoc_read_concern_set_level(read.get(), MONGOC_READ_CONCERN_LEVEL_MAJORITY);
    mongoc_uri_set_read_concern(uri.get(), read.get());
    const ReadPreference primary(mongoc_read_prefs_new(MONGOC_READ_PRIMARY));
    mongoc_uri_set_read_prefs_t(uri.get(), primary.get());
    return uri;
}

Fault::Kind KindOf(const bson_error_t& error, const bson_t* reply) {
    if (error.code == MONGOC_ERROR_DUPLICATE_KEY) {
        return Fault::Kind::Duplicate;
    }
    if (reply != nullptr && mongoc_error_has_label(reply, "TransientTransactionError")) {
        return Fault::Kind::Conflict;
    }
    if (reply != nullptr && mongoc_error_has_label(reply, "UnknownTransactionCommitResult")) {
        return Fault::Kind::InDoubt;
    }
    return Fault::Kind::Other;
}

std::size_t CountOf(const Document& reply, const char* key) {
    return static_cast<std::size_t>(Value(*reply.Get(), key).Number().value_or(0));
}

}  // namespace

std::string WithoutUserInfo(std::string_view text) {
    constexpr std::string_view kScheme = "://";
    std::string shown;
    for (;;) {
        const std::size_t scheme = text.find(kScheme);
        if (scheme == std::string_view::npos) {
            return shown.append(text);
        }
        const std::size_t start = scheme + kScheme.size();
        const std::size_t end = std::min(text.find_first_of(" \t\n", start), text.size());
        const std::size_t at = text.substr(0, end).rfind('@');
        shown.append(text.substr(0, start));
        if (at != std::string_view::npos && at >= start) {
            shown.append("***").append(text.substr(at, end - at));
        } else {
            shown.append(text.substr(start, end - start));
        }
        text.remove_prefix(end);
    }
}

Clients::Clients(const MongoSettings& settings) : m_database(settings.database) {
    StartDriver();
    const Uri uri = UriOf(settings);
    for (const char* const secret :
         {mongoc_uri_get_password(uri.get()),
          mongoc_uri_get_option_as_utf8(uri.get(), MONGOC_URI_TLSCERTIFICATEKEYFILEPASSWORD, nullptr)}) {
        if (secret != nullptr && *secret != '\0') {
            m_secrets.emplace_back(secret);
        }
    }
    bson_error_t error{};
    m_pPool = mongoc_client_pool_new_with_error(uri.get(), &error);
    if (m_pPool == nullptr) {
        throw ObjectStoreException("The database of mongo-uri cannot be reached: " +
                                   WithoutPasswords(error.message));
    }
    mongoc_client_pool_set_error_api(m_pPool, MONGOC_ERROR_API_VERSION_2);
    mongoc_client_pool_set_appname(m_pPool, "quillon-scheduler");
}

Clients::~Clients() {
    mongoc_client_pool_destroy(m_pPool);
}

std::string Clients::WithoutPasswords(std::string text) const {
    for (const std::string& secret : m_secrets) {
        for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + 3)) {
            text.replace(at, secret.size(), "***");
        }
    }
    return WithoutUserInfo(text);
}

Client::Client(Clients& clients) : m_clients(clients), m_pClient(mongoc_client_pool_pop(clients.m_pPool)) {
    if (m_pClient == nullptr) {
        throw Fault(Fault::Kind::Other, "all connections are busy");
    }
}

Client::~Client() {
    mongoc_client_pool_push(m_clients.m_pPool, m_pClient);
}

void Client::Fail(const bson_error_t& error, const bson_t* reply) const {
    throw Fault(KindOf(error, reply), m_clients.WithoutPasswords(error.message));
}

mongoc_collection_t* Client::Open(const char* collection) const {
    return mongoc_client_get_collection(m_pClient, m_clients.m_database.c_str(), collection);
}

Document Client::WithSession(Document options) const {
    bson_error_t error{};
    if (m_pSession != nullptr && !mongoc_client_session_append(m_pSession, options.Get(), &error)) {
        Fail(error, nullptr);
    }
    return options;
}

std::int64_t Client::Update(const char* collection, const Document& filter, const Document& update,
                            IfMissing ifMissing) {
    Document options;
    // Texts were looked at when they were appended; the driver would read them all once more.
    options.Bool("upsert", ifMissing == IfMissing::Insert).Bool("validate", false);
    Document reply;  // empty so far, so that nothing is lost when the driver makes its own of it
    bson_error_t error{};
    if (!mongoc_collection_update_one(Collection(Open(collection)).get(), filter.Get(), update.Get(),
                                      WithSession(options).Get(), reply.Get(), &error)) {
        Fail(error, reply.Get());
    }
    return Value(*reply.Get(), "matchedCount").Number().value_or(0);
}

std::size_t Client::Write(const char* collection, const std::vector<Step>& steps, Durability durability) {
    Document options;
    if (durability == Durability::One) {
        const WriteConcern one(mongoc_write_concern_new());
        mongoc_write_concern_set_w(one.get(), 1);
        mongoc_write_concern_append(one.get(), options.Get());
    }
    const Collection records(Open(collection));
    const Bulk bulk(mongoc_collection_create_bulk_operation_with_opts(records.get(), options.Get()));
    bson_error_t error{};
    for (const Step& step : steps) {
        const bool isTaken =
            bson_empty(step.update.Get())
                ? mongoc_bulk_operation_remove_one_with_opts(bulk.get(), step.filter.Get(), nullptr, &error)
                : mongoc_bulk_operation_update_one_with_opts(bulk.get(), step.filter.Get(), step.update.Get(),
                                                             nullptr, &error);
        if (!isTaken) {
            Fail(error, nullptr);
        }
    }
    Document reply;
    if (mongoc_bulk_operation_execute(bulk.get(), reply.Get(), &error) == 0) {
        Fail(error, reply.Get());
    }
    return CountOf(reply, "nMatched") + CountOf(reply, "nRemoved");
}

std::vector<Client::Refusal> Client::Upsert(const char* collection, std::span<const Step* const> steps) {
    Document inAnyOrder;
    inAnyOrder.Bool("ordered", false);
    Document options;
    options.Bool("upsert", true).Bool("validate", false);  // as in `Update`
    const Collection records(Open(collection));
    const Bulk bulk(mongoc_collection_create_bulk_operation_with_opts(records.get(), inAnyOrder.Get()));
    bson_error_t error{};
    for (const Step* const step : steps) {
        if (!mongoc_bulk_operation_update_one_with_opts(bulk.get(), step->filter.Get(), step->update.Get(),
                                                        options.Get(), &error)) {
            Fail(error, nullptr);
        }
    }
    Document reply;
    const bool isTaken = mongoc_bulk_operation_execute(bulk.get(), reply.Get(), &error) != 0;
    std::vector<Refusal> refusals;
    for (const Document& refusal : Value(*reply.Get(), "writeErrors").Children()) {
        const auto place = static_cast<std::size_t>(Value(*refusal.Get(), "index").Number().value_or(-1));
        const bool isDuplicate = Value(*refusal.Get(), "code").Number() == MONGOC_ERROR_DUPLICATE_KEY;
        if (place >= steps.size()) {
            throw Fault(Fault::Kind::Other, "the database refuses what it was not given");
        }
        refusals.push_back(
            {place, Fault(isDuplicate ? Fault::Kind::Duplicate : Fault::Kind::Other,
                          m_clients.WithoutPasswords(std::string(Value(*refusal.Get(), "errmsg").Text())))});
    }
    // What took no majority, or was lost on the way, is told of all and not of one.
    if (!isTaken && (refusals.empty() || !Value(*reply.Get(), "writeConcernErrors").Children().empty())) {
        Fail(error, reply.Get());
    }
    if (CountOf(reply, "nMatched") + CountOf(reply, "nUpserted") + refusals.size() != steps.size()) {
        throw Fault(Fault::Kind::Other, "the database tells of other writes than it was given");
    }
    return refusals;
}

void Client::Insert(const char* collection, const Document& document) {
    Document options;
    options.Bool("validate", false);
    Document reply;
    bson_error_t error{};
    if (!mongoc_collection_insert_one(Collection(Open(collection)).get(), document.Get(),
                                      WithSession(options).Get(), reply.Get(), &error)) {
        Fail(error, reply.Get());
    }
}

void Client::Delete(const char* collection, const Document& filter) {
    Document reply;
    bson_error_t error{};
    if (!mongoc_collection_delete_many(Collection(Open(collection)).get(), filter.Get(),
                                       WithSession({}).Get(), reply.Get(), &error)) {
        Fail(error, reply.Get());
    }
}

Document Client::FindAndUpdate(const char* collection, const Document& filter, const Document& update) {
    const FindAndModifyOptions options(mongoc_find_and_modify_opts_new());
    mongoc_find_and_modify_opts_set_update(options.get(), update.Get());
    mongoc_find_and_modify_opts_set_flags(options.get(), MONGOC_FIND_AND_MODIFY_RETURN_NEW);
    Document reply;
    bson_error_t error{};
    if (!mongoc_collection_find_and_modify_with_opts(Collection(Open(collection)).get(), filter.Get(),
                                                     options.get(), reply.Get(), &error)) {
        Fail(error, reply.Get());
    }
    if (const auto document = Value(*reply.Get(), "value").Child()) {
        return *document;
    }
    throw Fault(Fault::Kind::Other, std::string("a document is missing in the collection ") + collection);
}

void Client::Find(const char* collection, const Document& filter, const Document& options,
                  const Visit& visit) {
    const Collection records(Open(collection));
    const Cursor cursor(
        mongoc_collection_find_with_opts(records.get(), filter.Get(), WithSession(options).Get(), nullptr));
    const bson_t* document = nullptr;
    while (mongoc_cursor_next(cursor.get(), &document)) {
        if (!visit(*document)) {
            return;
        }
    }
    bson_error_t error{};
    const bson_t* reply = nullptr;
    if (mongoc_cursor_error_document(cursor.get(), &error, &reply)) {
        Fail(error, reply);
    }
}

Document Client::Command(const Document& command, bool isOfServer) {
    const char* const database = isOfServer ? "admin" : m_clients.m_database.c_str();
    Document reply;
    bson_error_t error{};
    if (!mongoc_client_command_simple(m_pClient, database, command.Get(), nullptr, reply.Get(), &error)) {
        Fail(error, reply.Get());
    }
    return reply;
}

void Client::InTransaction(std::chrono::steady_clock::time_point deadline,
                           const std::function<void()>& work) {
    bson_error_t error{};
    const Session session(mongoc_client_start_session(m_pClient, nullptr, &error));
    if (session == nullptr) {
        Fail(error, nullptr);
    }
    for (;;) {
        if (!mongoc_client_session_start_transaction(session.get(), nullptr, &error)) {
            Fail(error, nullptr);
        }
        m_pSession = session.get();
        try {
            work();
            Commit(deadline);
            m_pSession = nullptr;
            return;
        } catch (const Fault& fault) {
            m_pSession = nullptr;
            mongoc_client_session_abort_transaction(session.get(), nullptr);
            if (fault.kind != Fault::Kind::Conflict || std::chrono::steady_clock::now() >= deadline) {
                throw;
            }
            std::this_thread::sleep_for(kAfterConflict);
        } catch (...) {
            m_pSession = nullptr;
            mongoc_client_session_abort_transaction(session.get(), nullptr);
            throw;
        }
    }
}

void Client::Commit(std::chrono::steady_clock::time_point deadline) {
    for (;;) {
        Document reply;
        bson_error_t error{};
        if (mongoc_client_session_commit_transaction(m_pSession, reply.Get(), &error)) {
            return;
        }
        const bool isOver = std::chrono::steady_clock::now() >= deadline;
        if (KindOf(error, reply.Get()) != Fault::Kind::InDoubt || isOver) {
            Fail(error, reply.Get());
        }
    }
}

}  // namespace CommonServices::Mongo
