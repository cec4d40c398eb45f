// The engines of many machines by themselves, as bench/load.lua drives HTTP: EngineLoad nats|kafka|mongo
// ADDRESS CALLERS SECONDS FILE asks from so many callers at once, with the file as the body of what is sent,
// and each asks anew when it has its answer. NATS: request and reply, through a connection for those who ask
// and one for who answers. Kafka: an event, acknowledged by all replicas. MongoDB: an upsert with "w:
// majority, j: true", each caller with a connection of its own. The summary is a line of JSON, with times in
// milliseconds.
#include <librdkafka/rdkafkacpp.h>
#include <mongoc/mongoc.h>
#include <nats/nats.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kAnswerMilliseconds = 10'000;
constexpr const char* kSubject = "bench";

template <auto Destroy>
struct Destroyer {
    template <typename T>
    void operator()(T* handle) const {
        Destroy(handle);
    }
};
template <typename T, auto Destroy>
using Handle = std::unique_ptr<T, Destroyer<Destroy>>;

void Require(bool isWell, const std::string& what) {
    if (!isWell) {
        throw std::runtime_error(what);
    }
}

/// What is driven. `Ask` returns with the answer; any thread may call, each with a number of its own.
class Engine {
public:
    Engine() = default;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    virtual ~Engine() = default;

    virtual void Ask(std::size_t caller) = 0;
};

class Nats final : public Engine {
public:
    Nats(const std::string& address, std::string body) : m_body(std::move(body)) {
        natsOptions* options = nullptr;
        natsOptions_Create(&options);
        const Handle<natsOptions, natsOptions_Destroy> owned(options);
        natsOptions_SetURL(options, ("nats://" + address).c_str());
        natsOptions_SetSendAsap(options, true);
        m_asking = Connect(options);
        m_answering = Connect(options);
        natsSubscription* subscription = nullptr;
        Require(
            natsConnection_Subscribe(&subscription, m_answering.get(), kSubject, Reply, nullptr) == NATS_OK &&
                natsConnection_Flush(m_answering.get()) == NATS_OK,
            "NATS takes no subscription");
        m_subscription.reset(subscription);
    }

    void Ask(std::size_t /*caller*/) override {
        natsMsg* reply = nullptr;
        const auto status = natsConnection_Request(&reply, m_asking.get(), kSubject, m_body.data(),
                                                   static_cast<int>(m_body.size()), kAnswerMilliseconds);
        natsMsg_Destroy(reply);
        Require(status == NATS_OK, natsStatus_GetText(status));
    }

private:
    using Connection = Handle<natsConnection, natsConnection_Destroy>;

    static Connection Connect(natsOptions* options) {
        natsConnection* connection = nullptr;
        const auto status = natsConnection_Connect(&connection, options);
        Require(status == NATS_OK, natsStatus_GetText(status));
        return Connection(connection);
    }
    static void Reply(natsConnection* connection, natsSubscription* /*subscription*/, natsMsg* message,
                      void* /*closure*/) {
        natsConnection_PublishString(connection, natsMsg_GetReply(message), "{}");
        natsMsg_Destroy(message);
    }

    const std::string m_body;
    Connection m_asking;
    Connection m_answering;
    Handle<natsSubscription, natsSubscription_Destroy> m_subscription;
};

class Kafka final : public Engine, private RdKafka::DeliveryReportCb {
public:
    Kafka(const std::string& address, std::string body) : m_body(std::move(body)) {
        const std::unique_ptr<RdKafka::Conf> settings(RdKafka::Conf::create(RdKafka::Conf::CONF_GLOBAL));
        std::string text;
        for (const auto& [key, value] : {std::pair("bootstrap.servers", address.c_str()),
                                         {"acks", "all"},
                                         {"enable.idempotence", "true"},
                                         {"linger.ms", "0"}}) {
            Require(settings->set(key, value, text) == RdKafka::Conf::CONF_OK, text);
        }
        settings->set("dr_cb", static_cast<RdKafka::DeliveryReportCb*>(this), text);
        m_producer.reset(RdKafka::Producer::create(settings.get(), text));
        Require(m_producer != nullptr, text);
        m_listener = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                m_producer->poll(10);
            }
        });
        Ask(0);  // which makes the topic
    }

    void Ask(std::size_t /*caller*/) override {
        std::promise<RdKafka::ErrorCode> promise;
        auto outcome = promise.get_future();
        const auto queued =
            m_producer->produce(kSubject, 0, RdKafka::Producer::RK_MSG_COPY, const_cast<char*>(m_body.data()),
                                m_body.size(), nullptr, 0, 0, &promise);
        Require(queued == RdKafka::ERR_NO_ERROR, RdKafka::err2str(queued));
        const auto error = outcome.get();
        Require(error == RdKafka::ERR_NO_ERROR, RdKafka::err2str(error));
    }

private:
    void dr_cb(RdKafka::Message& message) override {
        static_cast<std::promise<RdKafka::ErrorCode>*>(message.msg_opaque())->set_value(message.err());
    }

    const std::string m_body;
    std::unique_ptr<RdKafka::Producer> m_producer;
    std::jthread m_listener;  // the last member: it uses the producer
};

class Mongo final : public Engine {
public:
    Mongo(const std::string& address, std::string body, std::size_t callers) : m_body(std::move(body)) {
        mongoc_init();
        const std::string uri = "mongodb://" + address + "/?directConnection=true&w=majority&journal=true";
        for (std::size_t n = 0; n < callers; ++n) {
            Caller& caller = m_callers.emplace_back();
            caller.client.reset(mongoc_client_new(uri.c_str()));
            Require(caller.client != nullptr, "this is no address: " + uri);
            caller.collection.reset(mongoc_client_get_collection(caller.client.get(), "bench", "bench"));
        }
    }

    void Ask(std::size_t caller) override {
        Caller& self = m_callers[caller];
        bson_oid_t id;
        bson_oid_init(&id, nullptr);
        const Document filter(BCON_NEW("_id", BCON_OID(&id)));
        const Document update(BCON_NEW("$set", "{", "body", BCON_UTF8(m_body.c_str()), "}"));
        const Document options(BCON_NEW("upsert", BCON_BOOL(true)));
        bson_error_t error{};
        Require(mongoc_collection_update_one(self.collection.get(), filter.Get(), update.Get(), options.Get(),
                                             nullptr, &error),
                error.message);
    }

private:
    class Document {
    public:
        explicit Document(bson_t* document) : m_pDocument(document) {}
        Document(const Document&) = delete;
        Document& operator=(const Document&) = delete;
        ~Document() { bson_destroy(m_pDocument); }

        const bson_t* Get() const { return m_pDocument; }

    private:
        bson_t* const m_pDocument;
    };
    struct Caller {
        Handle<mongoc_client_t, mongoc_client_destroy> client;
        Handle<mongoc_collection_t, mongoc_collection_destroy> collection;
    };

    const std::string m_body;
    std::vector<Caller> m_callers;
};

std::unique_ptr<Engine> Open(const std::string& kind, const std::string& address, std::string body,
                             std::size_t callers) {
    if (kind == "nats") {
        return std::make_unique<Nats>(address, std::move(body));
    }
    if (kind == "kafka") {
        return std::make_unique<Kafka>(address, std::move(body));
    }
    Require(kind == "mongo", "there is no engine \"" + kind + "\"");
    return std::make_unique<Mongo>(address, std::move(body), callers);
}

std::vector<double> Drive(Engine& engine, std::size_t callers, Clock::time_point end) {
    std::vector<std::future<std::vector<double>>> running;
    for (std::size_t caller = 0; caller < callers; ++caller) {
        running.push_back(std::async(std::launch::async, [&engine, caller, end] {
            std::vector<double> times;
            for (auto start = Clock::now(); start < end;) {
                engine.Ask(caller);
                const auto now = Clock::now();
                times.push_back(std::chrono::duration<double, std::milli>(now - start).count());
                start = now;
            }
            return times;
        }));
    }
    std::vector<double> all;
    for (auto& caller : running) {
        const std::vector<double> times = caller.get();
        all.insert(all.end(), times.begin(), times.end());
    }
    return all;
}

double Quantile(const std::vector<double>& sorted, double part) {
    return sorted.empty() ? 0
                          : sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

}  // namespace

int main(int count, char** arguments) try {
    if (count != 6) {
        std::cerr << "EngineLoad nats|kafka|mongo ADDRESS CALLERS SECONDS FILE\n";
        return 2;
    }
    std::ifstream file(arguments[5], std::ios::binary);
    std::string body{std::istreambuf_iterator<char>(file), {}};
    Require(!body.empty(), "there is no body in " + std::string(arguments[5]));
    const auto callers = std::stoul(arguments[3]);
    const auto engine = Open(arguments[1], arguments[2], std::move(body), callers);
    const auto start = Clock::now();
    std::vector<double> times =
        Drive(*engine, callers, start + std::chrono::seconds(std::stoi(arguments[4])));
    const double took = std::chrono::duration<double>(Clock::now() - start).count();
    std::sort(times.begin(), times.end());
    std::cout << R"({"requests": )" << times.size() << R"(, "seconds": )" << took << R"(, "p50": )"
              << Quantile(times, 0.5) << R"(, "p99": )" << Quantile(times, 0.99)
              << R"(, "refused": 0, "broken": 0})" << std::endl;
    return 0;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
