#include "platform/messaging/nats/NatsConnection.h"

#include <nats/nats.h>

#include <algorithm>
#include <exception>
#include <fstream>
#include <limits>
#include <map>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/messaging/nats/NatsEnvelope.h"

namespace PlatformAbstraction::Messaging {

namespace {

using OnMessage = NatsConnection::OnMessage;
using OnLost = std::function<void()>;

constexpr int kUnlimited = -1;
constexpr int kUnansweredPings = 2;

struct OptionsDeleter {
    void operator()(natsOptions* options) const { natsOptions_Destroy(options); }
};
struct MessageDeleter {
    void operator()(natsMsg* message) const { natsMsg_Destroy(message); }
};
struct InboxDeleter {
    void operator()(natsInbox* inbox) const { natsInbox_Destroy(inbox); }
};

std::string TextOf(natsStatus status) {
    natsStatus lastStatus = NATS_OK;
    const char* const last = nats_GetLastError(&lastStatus);
    std::string text = natsStatus_GetText(status);
    return last != nullptr && *last != '\0' && lastStatus == status ? text + ": " + last : text;
}

void Check(natsStatus status, const char* what) {
    if (status != NATS_OK) {
        throw NatsBusError(std::string(what) + ": " + TextOf(status));
    }
}

std::string_view ViewOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

std::string ReadPassword(const std::string& path) {
    std::ifstream file(path);
    std::string password;
    if (!std::getline(file, password) || password.empty()) {
        throw NatsBusError("The password file of the bus, \"" + path + "\", cannot be read or is empty.");
    }
    if (password.back() == '\r') {
        password.pop_back();
    }
    return password;
}

// Of a subscription. The library's thread deletes it when it has called it for the last time.
void HandleMessage(natsConnection* /*connection*/, natsSubscription* /*subscription*/, natsMsg* message,
                   void* closure) {
    const std::unique_ptr<natsMsg, MessageDeleter> owned(message);
    try {
        const int length = natsMsg_GetDataLength(message);
        (*static_cast<const OnMessage*>(closure))(
            {ViewOf(natsMsg_GetSubject(message)), ViewOf(natsMsg_GetReply(message)),
             length <= 0 ? std::string_view()
                         : std::string_view(natsMsg_GetData(message), static_cast<std::size_t>(length)),
             natsMsg_IsNoResponders(message)});
    } catch (const std::exception& error) {
        Log::Error(std::string("A message of the bus was lost: ") + error.what());
    }
}

void DeleteOnMessage(void* closure) {
    delete static_cast<OnMessage*>(closure);
}

// Called once for each connection that was opened, and not for one that was not.
void HandleClosed(natsConnection* /*connection*/, void* closure) {
    const std::unique_ptr<OnLost> onLost(static_cast<OnLost*>(closure));
    try {
        (*onLost)();
    } catch (const std::exception& error) {
        Log::Error(std::string("The loss of the bus was not told to all: ") + error.what());
    }
}

void HandleError(natsConnection* /*connection*/, natsSubscription* subscription, natsStatus status,
                 void* /*closure*/) {
    std::string text = std::string("The bus reports: ") + natsStatus_GetText(status);
    if (subscription != nullptr) {
        text.append(", subject ").append(ViewOf(natsSubscription_GetSubject(subscription)));
        std::int64_t dropped = 0;
        if (natsSubscription_GetDropped(subscription, &dropped) == NATS_OK && dropped > 0) {
            text.append(", messages lost so far: ").append(std::to_string(dropped));
        }
    }
    Log::Error(text);
}

void Drain(const std::vector<natsSubscription*>& subscriptions, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (natsSubscription* const subscription : subscriptions) {
        static_cast<void>(
            natsSubscription_DrainTimeout(subscription, std::max<std::int64_t>(patience.count(), 1)));
    }
    for (natsSubscription* const subscription : subscriptions) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        static_cast<void>(
            natsSubscription_WaitForDrainCompletion(subscription, std::max<std::int64_t>(left.count(), 1)));
    }
}

using Options = std::unique_ptr<natsOptions, OptionsDeleter>;

void SetIdentity(natsOptions* options, const NatsSettings& settings) {
    if (!settings.credentialsFile.empty()) {
        Check(natsOptions_SetUserCredentialsFromFiles(options, settings.credentialsFile.c_str(), nullptr),
              "The credentials file of the bus was refused");
    }
    if (!settings.userName.empty()) {
        Check(natsOptions_SetUserInfo(options, settings.userName.c_str(),
                                      ReadPassword(settings.passwordFile).c_str()),
              "The user of the bus was refused");
    }
}

void SetTls(natsOptions* options, const NatsSettings& settings, const NatsAddress& server) {
    if (!settings.tls && !server.url.starts_with("tls://")) {
        return;
    }
    Check(natsOptions_SetSecure(options, true), "TLS cannot be spoken with the bus");
    Check(natsOptions_SetExpectedHostname(options, server.host.c_str()), "TLS cannot be spoken with the bus");
    if (!settings.authorityFile.empty()) {
        Check(natsOptions_LoadCATrustedCertificates(options, settings.authorityFile.c_str()),
              "The authorities of the bus cannot be read");
    }
}

// Without a login.
Options AnonymousOptionsFor(const NatsSettings& settings, const NatsAddress& server) {
    constexpr const char* kRefused = "The settings of the bus were refused";
    natsOptions* made = nullptr;
    Check(natsOptions_Create(&made), kRefused);
    Options options(made);
    for (const natsStatus status :
         {natsOptions_SetURL(made, server.url.c_str()), natsOptions_SetName(made, "quillon"),
          natsOptions_SetTimeout(made, settings.connectTimeout.count()),
          natsOptions_SetWriteDeadline(made, 2 * settings.pingInterval.count()),
          natsOptions_SetPingInterval(made, settings.pingInterval.count()),
          natsOptions_SetMaxPingsOut(made, kUnansweredPings), natsOptions_SetAllowReconnect(made, false),
          natsOptions_SetIgnoreDiscoveredServers(made, true), natsOptions_SetSendAsap(made, true),
          natsOptions_SetErrorHandler(made, HandleError, nullptr)}) {
        Check(status, kRefused);
    }
    SetTls(made, settings, server);
    return options;
}

Options OptionsFor(const NatsSettings& settings, const NatsAddress& server, OnLost* onLost) {
    Options options = AnonymousOptionsFor(settings, server);
    Check(natsOptions_SetClosedCB(options.get(), HandleClosed, onLost),
          "The settings of the bus were refused");
    SetIdentity(options.get(), settings);
    return options;
}

// A server that asks nobody who he is takes a login as well, and then anybody may say on whose behalf he
// comes.
void CheckThatItAsksForLogins(const NatsSettings& settings, const NatsAddress& server) {
    const Options options = AnonymousOptionsFor(settings, server);
    natsConnection* connection = nullptr;
    const natsStatus status = natsConnection_Connect(&connection, options.get());
    natsConnection_Destroy(connection);
    if (status == NATS_OK) {
        throw NatsBusError(
            "it is beyond loopback addresses and takes anybody, without a login; its messages say on whose "
            "behalf they come");
    }
}

}  // namespace

struct NatsConnection::Handles {
    natsConnection* connection = nullptr;
    int maxUnreadBytes = kUnlimited;

    Mutex mutex;
    std::map<SubscriptionNumber, natsSubscription*> services QUILLON_GUARDED_BY(mutex);
    std::vector<natsSubscription*> inboxes QUILLON_GUARDED_BY(mutex);
};

NatsConnection::NatsConnection(std::unique_ptr<Handles> handles) : m_pHandles(std::move(handles)) {}

NatsConnection::~NatsConnection() {
    Close();
    {
        const MutexLock lock(m_pHandles->mutex);
        for (const auto& [number, subscription] : m_pHandles->services) {
            natsSubscription_Destroy(subscription);
        }
        std::ranges::for_each(m_pHandles->inboxes, natsSubscription_Destroy);
    }
    natsConnection_Destroy(m_pHandles->connection);
}

std::unique_ptr<NatsConnection> NatsConnection::Open(const NatsSettings& settings, std::size_t firstServer,
                                                     const std::function<void()>& onLost) {
    const std::vector<NatsAddress> servers = CheckNatsSettings(settings);
    std::string errors;
    for (std::size_t n = 0; n < servers.size(); ++n) {
        const NatsAddress& server = servers[(firstServer + n) % servers.size()];
        try {
            return OpenTo(settings, server, onLost);
        } catch (const NatsBusError& error) {
            errors.append(errors.empty() ? "" : " ").append(server.url + ": " + error.what() + ".");
        }
    }
    throw NatsBusError("The bus cannot be joined. " + errors);
}

std::unique_ptr<NatsConnection> NatsConnection::OpenTo(const NatsSettings& settings,
                                                       const NatsAddress& server,
                                                       const std::function<void()>& onLost) {
    auto handles = std::make_unique<Handles>();
    handles->maxUnreadBytes =
        static_cast<int>(std::min<std::size_t>(settings.maxUnreadBytes, std::numeric_limits<int>::max()));
    auto closure = std::make_unique<OnLost>(onLost);
    const Options options = OptionsFor(settings, server, closure.get());
    Check(natsConnection_Connect(&handles->connection, options.get()), "no connection");
    static_cast<void>(closure.release());  // `HandleClosed` deletes it
    std::unique_ptr<NatsConnection> connection(new NatsConnection(std::move(handles)));
    if (natsConnection_HasHeaderSupport(connection->m_pHandles->connection) != NATS_OK) {
        throw NatsBusError("the server is too old to tell that nobody listens");
    }
    if (!server.isLoopback) {
        CheckThatItAsksForLogins(settings, server);
    }
    // The gateway's largest body has to pass, or the largest submissions fail one by one.
    if (connection->MaxPayload() < settings.largestBody + kNatsEnvelopeRoom) {
        throw NatsBusError("its \"max_payload\" is " + std::to_string(connection->MaxPayload()) +
                           ", and bodies of up to " + std::to_string(settings.largestBody) +
                           " bytes (\"maxBodyBytes\") need " +
                           std::to_string(settings.largestBody + kNatsEnvelopeRoom));
    }
    return connection;
}

bool NatsConnection::IsLost() const {
    return natsConnection_IsClosed(m_pHandles->connection);
}

std::size_t NatsConnection::MaxPayload() const {
    return static_cast<std::size_t>(
        std::max<std::int64_t>(natsConnection_GetMaxPayload(m_pHandles->connection), 0));
}

void NatsConnection::Subscribe(SubscriptionNumber number, const std::string& subject,
                               const std::string& group, OnMessage onMessage) {
    AddSubscription(number, subject, group, std::move(onMessage));
}

std::string NatsConnection::SubscribeToInbox(OnMessage onMessage) {
    natsInbox* made = nullptr;
    Check(natsInbox_Create(&made), "no place for answers");
    const std::unique_ptr<natsInbox, InboxDeleter> owned(made);
    std::string prefix = std::string(made) + ".";
    AddSubscription({}, prefix + "*", "", std::move(onMessage));
    return prefix;
}

void NatsConnection::AddSubscription(std::optional<SubscriptionNumber> number, const std::string& subject,
                                     const std::string& group, OnMessage onMessage) {
    auto closure = std::make_unique<OnMessage>(std::move(onMessage));
    natsSubscription* made = nullptr;
    Check(group.empty() ? natsConnection_Subscribe(&made, m_pHandles->connection, subject.c_str(),
                                                   HandleMessage, closure.get())
                        : natsConnection_QueueSubscribe(&made, m_pHandles->connection, subject.c_str(),
                                                        group.c_str(), HandleMessage, closure.get()),
          "no subscription");
    {
        const MutexLock lock(m_pHandles->mutex);
        if (number) {
            m_pHandles->services.emplace(*number, made);
        } else {
            m_pHandles->inboxes.push_back(made);
        }
    }
    // Where it is closed already, the function may be in use still, for the last time, and nobody deletes it.
    OnMessage* const shared = closure.release();
    Check(natsSubscription_SetOnCompleteCB(made, DeleteOnMessage, shared), "no subscription");
    // Of answers there are no more than were asked for.
    static_cast<void>(natsSubscription_SetPendingLimits(made, kUnlimited,
                                                        number ? m_pHandles->maxUnreadBytes : kUnlimited));
}

bool NatsConnection::Flush(std::chrono::milliseconds patience) {
    return natsConnection_FlushTimeout(m_pHandles->connection, std::max<std::int64_t>(patience.count(), 1)) ==
           NATS_OK;
}

NatsConnection::Sent NatsConnection::Publish(const std::string& subject, const std::string& reply,
                                             std::string_view data) {
    if (data.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return Sent::TooLarge;
    }
    const auto length = static_cast<int>(data.size());
    const natsStatus status =
        reply.empty() ? natsConnection_Publish(m_pHandles->connection, subject.c_str(), data.data(), length)
                      : natsConnection_PublishRequest(m_pHandles->connection, subject.c_str(), reply.c_str(),
                                                      data.data(), length);
    if (status == NATS_OK) {
        return Sent::Yes;
    }
    return status == NATS_MAX_PAYLOAD ? Sent::TooLarge : Sent::Lost;
}

// The handles stay until the connection goes: the library's threads may be at them still.
void NatsConnection::Leave(const std::vector<SubscriptionNumber>& numbers,
                           std::chrono::milliseconds patience) {
    std::vector<natsSubscription*> services;
    {
        const MutexLock lock(m_pHandles->mutex);
        for (const auto& [number, subscription] : m_pHandles->services) {
            if (std::ranges::find(numbers, number) != numbers.end()) {
                services.push_back(subscription);
            }
        }
    }
    Drain(services, patience);
}

void NatsConnection::Leave(std::chrono::milliseconds patience) {
    std::vector<SubscriptionNumber> all;
    {
        const MutexLock lock(m_pHandles->mutex);
        for (const auto& [number, subscription] : m_pHandles->services) {
            all.push_back(number);
        }
    }
    Leave(all, patience);
}

void NatsConnection::LeaveInbox(std::chrono::milliseconds patience) {
    std::vector<natsSubscription*> inboxes;
    {
        const MutexLock lock(m_pHandles->mutex);
        inboxes = m_pHandles->inboxes;
    }
    Drain(inboxes, patience);
}

void NatsConnection::Close() {
    natsConnection_Close(m_pHandles->connection);
}

}  // namespace PlatformAbstraction::Messaging
