#include "platform/stores/kafka/ClientConfiguration.h"

#include <algorithm>
#include <fstream>

#include "base/log/PlatformLog.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices::Kafka {

using PlatformAbstraction::MutexLock;
namespace Log = PlatformAbstraction::Log;

namespace {

std::string ReadPassword(const std::string& path) {
    std::ifstream file(path);
    std::string password;
    if (!file || !std::getline(file, password) || password.empty()) {
        throw ObjectStoreException("The password for Kafka cannot be read from \"" + path + "\"");
    }
    if (password.back() == '\r') {
        password.pop_back();
    }
    return password;
}

void CheckNumbers(const KafkaSettings& settings) {
    if (settings.bootstrapServers.empty()) {
        throw ObjectStoreException("No Kafka server is named");
    }
    if (settings.replicas < 1 || settings.minInSyncReplicas < 1 ||
        settings.minInSyncReplicas > settings.replicas) {
        throw ObjectStoreException(
            "Of the replicas of Kafka's topics at least one, and no more than there are, have to be in sync");
    }
}

// The library has SCRAM too, but in the version of Debian 12 (2.0.2) brokers of Kafka 4.1 refuse it with the
// right password.
void CheckLogin(const KafkaSettings& settings) {
    if (settings.saslMechanism != "PLAIN") {
        throw ObjectStoreException("The login at Kafka can be PLAIN alone, not \"" + settings.saslMechanism +
                                   "\"");
    }
    if (!settings.tls) {
        throw ObjectStoreException("The login PLAIN at Kafka shows the password to the net: use it with TLS");
    }
}

}  // namespace

void ClientReports::event_cb(RdKafka::Event& event) {
    if (event.type() == RdKafka::Event::EVENT_ERROR) {
        const MutexLock lock(m_mutex);
        // That no server is left says less than what was wrong with the last one.
        if (m_lastError.empty() || event.err() != RdKafka::ERR__ALL_BROKERS_DOWN) {
            m_lastError = event.str();
        }
    }
    if (event.type() == RdKafka::Event::EVENT_ERROR || event.type() == RdKafka::Event::EVENT_LOG) {
        Log::Debug("Kafka's client: " + event.str());
    }
}

std::string ClientReports::TakeLastError() {
    const MutexLock lock(m_mutex);
    return std::exchange(m_lastError, {});
}

ClientConfiguration::ClientConfiguration(const KafkaSettings& settings) {
    CheckNumbers(settings);
    m_shared = {{"bootstrap.servers", settings.bootstrapServers},
                {"client.id", "quillon-scheduler"},
                // A server that vanished without a word, and one that is back, are noticed soon.
                {"socket.timeout.ms", "10000"},
                {"socket.keepalive.enable", "true"},
                {"reconnect.backoff.ms", "100"},
                {"reconnect.backoff.max.ms", "1000"},
                {"message.max.bytes", std::to_string(settings.maxEventBytes)}};
    std::string protocol = settings.tls ? "ssl" : "plaintext";
    if (!settings.saslMechanism.empty()) {
        protocol = "sasl_" + protocol;
        CheckLogin(settings);
        m_shared.emplace_back("sasl.mechanism", settings.saslMechanism);
        m_shared.emplace_back("sasl.username", settings.userName);
        m_shared.emplace_back("sasl.password", ReadPassword(settings.passwordFile));
    }
    m_shared.emplace_back("security.protocol", protocol);
    if (settings.tls) {
        m_shared.emplace_back("ssl.endpoint.identification.algorithm", "https");
        if (!settings.caFile.empty()) {
            m_shared.emplace_back("ssl.ca.location", settings.caFile);
        }
    }
}

std::unique_ptr<RdKafka::Conf> ClientConfiguration::Make(std::initializer_list<Property> own,
                                                         ClientReports& reports) const {
    std::unique_ptr<RdKafka::Conf> configuration(RdKafka::Conf::create(RdKafka::Conf::CONF_GLOBAL));
    std::string error;
    const auto set = [&](const Property& property) {
        if (configuration->set(property.first, property.second, error) != RdKafka::Conf::CONF_OK) {
            throw ObjectStoreException("Kafka's client does not take the settings: " + error);
        }
    };
    std::ranges::for_each(m_shared, set);
    std::ranges::for_each(own, set);
    configuration->set("event_cb", &reports, error);
    return configuration;
}

}  // namespace CommonServices::Kafka
