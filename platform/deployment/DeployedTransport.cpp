#include "platform/deployment/DeployedTransport.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/Mutex.h"
#include "base/log/PlatformLog.h"
#include "platform/deployment/StopSignals.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/messaging/ServiceInfo.h"
#include "platform/messaging/inprocess/InProcessBus.h"
#include "platform/messaging/nats/NatsBus.h"
#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Deployment {

namespace {

using Messaging::InitError;
using Messaging::TermError;
using std::chrono::steady_clock;

// How long the messages under way at the end may take, all together.
constexpr std::chrono::seconds kStopPatience{10};
// What the gateway has at the least to write the last answers.
constexpr std::chrono::milliseconds kLeastWritePatience{500};

std::uint16_t ReadPort() {
    const std::string text = GetConfigValue(std::string(Weftline::Options::Port));
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        throw BusSettingsError("The setting \"port\" must be a number from 0 to 65535, not \"" + text +
                               "\".");
    }
    return port;
}

std::string ReadHost(const Messaging::ServiceInfoApi& service) {
    std::string host = service.GetHost();
    if (host.empty()) {
        throw BusSettingsError("The setting \"host\" must not be empty.");
    }
    return host;
}

// The stores know the configuration store alone.
void HandToStores(const BusSettings& settings) {
    namespace Options = Weftline::Options;
    const std::pair<std::string_view, std::string> entries[] = {
        {Options::StoreCompression, settings.store.compression},
        {Options::StoreTimeoutMs, std::to_string(settings.store.timeout.count())},
        {Options::KafkaTls, settings.kafka.tls ? "true" : "false"},
        {Options::KafkaAuthorityFile, settings.kafka.authorityFile},
        {Options::KafkaSaslMechanism, settings.kafka.saslMechanism},
        {Options::KafkaUserName, settings.kafka.userName},
        {Options::KafkaPasswordFile, settings.kafka.passwordFile},
        {Options::KafkaReplicas, std::to_string(settings.kafka.replicas)},
        {Options::KafkaMinInSyncReplicas, std::to_string(settings.kafka.minInSyncReplicas)},
    };
    for (const auto& [key, value] : entries) {
        AddConfigData(std::string(key), value);
    }
}

std::string HostAndPort(const std::string& host, std::uint16_t port) {
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

std::string UrlOf(const Rest::RestGatewaySettings& settings, std::uint16_t port) {
    return (settings.tls.IsUsed() ? "https://" : "http://") + HostAndPort(settings.host, port);
}

// What MongoDB takes as one document, and how many bytes of it a body's byte becomes at the most: it is
// stored twice, as a text within a text, where a quotation mark is two bytes.
constexpr std::size_t kMostDocument = std::size_t{16} * 1024 * 1024;
constexpr std::size_t kMostStoredOfByte = 4;
constexpr std::size_t kRestOfDocument = std::size_t{16} * 1024;

void WarnOfLargeBodies(const Rest::RestGatewaySettings& rest) {
    constexpr std::size_t kAlwaysFits = (kMostDocument - kRestOfDocument) / kMostStoredOfByte;
    if (rest.maxBodyBytes > kAlwaysFits) {
        Log::Warning("\"rest.maxBodyBytes\" is " + std::to_string(rest.maxBodyBytes) +
                     ". A job's body is stored twice and with escapes, and MongoDB takes " +
                     std::to_string(kMostDocument) + " bytes as one record: of the bodies above " +
                     std::to_string(kAlwaysFits) + " bytes some will be refused.");
    }
}

/// In one process, or on many machines.
enum class Mode { Standalone, Distributed };

BusSettings ReadSettingsOf(Mode mode, const std::string& configuration) {
    BusSettings settings = ReadBusSettings(configuration);
    if (mode == Mode::Standalone && !settings.ofManyMachines.empty()) {
        throw BusSettingsError("The bus setting \"" + settings.ofManyMachines +
                               "\" counts with --deploy=distributed alone; in one process --host and --port "
                               "say where the gateway listens.");
    }
    settings.farm.isShared = mode == Mode::Distributed;
    return settings;
}

std::shared_ptr<Messaging::MessageBus> MakeBus(Mode mode, const BusSettings& settings) {
    if (mode == Mode::Standalone) {
        return Messaging::InProcessBus::Create(settings.bus);
    }
    return Messaging::NatsBus::Create(settings.nats);
}

// Where the bus and the gateway are, once options and file are both known.
void Address(Mode mode, const std::string& host, std::uint16_t port, BusSettings& settings) {
    if (mode == Mode::Standalone) {
        settings.rest.host = host;
        settings.rest.port = port;
        return;
    }
    settings.rest.host = settings.gateway.host;
    settings.rest.port = settings.gateway.port;
    settings.nats.services = settings.bus;
    settings.nats.largestBody = settings.rest.maxBodyBytes;
    if (settings.nats.servers.empty()) {
        settings.nats.servers.push_back(HostAndPort(host, port));
    } else {
        Log::Warning("The bus is where \"nats.servers\" says; --host and --port (" + HostAndPort(host, port) +
                     ") are not looked at.");
    }
}

class DeployedTransport final : public Messaging::BusTransport {
public:
    DeployedTransport(Mode mode, FarmHook farm)
        : m_mode(mode),
          m_farm(std::move(farm)),
          m_pMessaging(Messaging::InProcessBus::Create()->GetMessaging()) {}
    ~DeployedTransport() override { EndRunning(steady_clock::now()); }

    InitError ReadSettings(const std::string& configuration) override;
    InitError Start(std::shared_ptr<Messaging::ServiceInfoApi> service,
                    const std::string& configuration) override;
    bool IsRunning() const override { return m_running.has_value(); }
    bool WaitUntilStopped() override;
    TermError Stop() override;
    std::shared_ptr<Messaging::BusMessaging> GetMessaging() const override;

private:
    /// All that exists from the start to the end; the later the member, the earlier it goes.
    struct Running {
        std::string configuration;
        std::shared_ptr<AttachedFarm> farm;
        std::shared_ptr<Messaging::MessageBus> bus;
        std::shared_ptr<Messaging::MessageSink> service;
        std::optional<Rest::RestGateway> gateway;
    };

    void Run(const std::shared_ptr<Messaging::ServiceInfo>& service, const std::string& configuration);
    void ReloadCallers();
    void EndRunning(steady_clock::time_point deadline);

    // For the main thread alone.
    const Mode m_mode;
    const FarmHook m_farm;
    StopSignals m_signals;  // before the start already: a service that is still starting ends normally too
    std::optional<Running> m_running;

    mutable Mutex m_mutex;
    // Of no bus at first.
    std::shared_ptr<Messaging::BusMessaging> m_pMessaging QUILLON_GUARDED_BY(m_mutex);
};

InitError DeployedTransport::ReadSettings(const std::string& configuration) try {
    const BusSettings settings = ReadSettingsOf(m_mode, configuration);
    HandToStores(settings);
    if (m_mode == Mode::Distributed) {
        WarnOfLargeBodies(settings.rest);
    }
    return InitError::None;
} catch (const BusSettingsError& refused) {
    Log::Error(refused.what());
    return InitError::BadConfiguration;
}

InitError DeployedTransport::Start(std::shared_ptr<Messaging::ServiceInfoApi> service,
                                   const std::string& configuration) {
    const auto info = std::dynamic_pointer_cast<Messaging::ServiceInfo>(std::move(service));
    if (!info) {
        return InitError::NoServiceInfo;
    }
    if (m_running) {
        return InitError::AlreadyInitialized;
    }
    InitError error = InitError::None;
    try {
        Run(info, configuration);
        return error;
    } catch (const BusSettingsError& refused) {
        Log::Error(refused.what());
        error = InitError::BadConfiguration;
    } catch (const Rest::CannotListenError& refused) {
        Log::Error(refused.what());
        error = InitError::CannotListen;
    } catch (const std::exception& failed) {
        Log::Error(std::string("The bus could not be started: ") + failed.what());
        error = InitError::Failed;
    }
    EndRunning(steady_clock::now());
    return error;
}

void DeployedTransport::Run(const std::shared_ptr<Messaging::ServiceInfo>& service,
                            const std::string& configuration) {
    BusSettings settings = ReadSettingsOf(m_mode, configuration);
    Address(m_mode, ReadHost(*service), ReadPort(), settings);

    Running& running = m_running.emplace();
    running.configuration = configuration;
    running.bus = MakeBus(m_mode, settings);
    running.service = running.bus->Attach(service);
    {
        const MutexLock lock(m_mutex);
        m_pMessaging = running.bus->GetMessaging();
    }
    if (m_farm && settings.farm.enabled.value_or(m_mode == Mode::Standalone)) {
        running.farm = m_farm(*running.bus, settings, *service);
    }
    running.gateway.emplace(settings.rest, service->GetRegistrations(), *running.service,
                            [this] { m_signals.ReportBrokenListener(); });
    const std::uint16_t port = running.gateway->Start();
    Log::Info("Listening on " + UrlOf(settings.rest, port));
}

// The gateway goes first: it is what keeps somebody out.
void DeployedTransport::ReloadCallers() {
    if (m_running->configuration.empty()) {
        Log::Info("SIGHUP: there is no file of bus settings to read anew.");
        return;
    }
    try {
        const auto callers = ReadBusSettings(m_running->configuration).rest.callers;
        m_running->gateway->SetCallers(callers);
        if (m_running->farm) {
            m_running->farm->SetCallers(callers);
        }
        Log::Info("SIGHUP: the callers were read anew; there are " + std::to_string(callers.size()) + ".");
    } catch (const std::exception& refused) {
        Log::Error(std::string("SIGHUP: the callers stay as they were. ") + refused.what());
    }
}

// First no more comes in, then what is in gets its answers, then these are written.
void DeployedTransport::EndRunning(steady_clock::time_point deadline) {
    if (!m_running) {
        return;
    }
    if (m_running->gateway) {
        m_running->gateway->StopAccepting();
    }
    if (m_running->farm) {
        m_running->farm->Stop();
    }
    if (m_running->bus) {
        m_running->bus->Stop(std::max(deadline - steady_clock::now(), steady_clock::duration::zero()));
    }
    if (m_running->gateway) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
        m_running->gateway->Stop(std::max(left, kLeastWritePatience));
    }
    m_running.reset();
}

bool DeployedTransport::WaitUntilStopped() {
    if (!m_running) {
        return false;
    }
    const StopReason reason = m_signals.Wait([this] { ReloadCallers(); });
    Log::Info(reason == StopReason::Signal ? "Stopping: a signal asks for it."
                                           : "Stopping: no more connections can be accepted.");
    EndRunning(steady_clock::now() + kStopPatience);
    return reason == StopReason::Signal;
}

TermError DeployedTransport::Stop() {
    if (!m_running) {
        return TermError::NotRunning;
    }
    EndRunning(steady_clock::now() + kStopPatience);
    return TermError::None;
}

std::shared_ptr<Messaging::BusMessaging> DeployedTransport::GetMessaging() const {
    const MutexLock lock(m_mutex);
    return m_pMessaging;
}

}  // namespace

}  // namespace PlatformAbstraction::Deployment

namespace PlatformAbstraction::Messaging {

std::unique_ptr<BusTransport> MakeStandaloneTransport(Deployment::FarmHook farm) {
    return std::make_unique<Deployment::DeployedTransport>(Deployment::Mode::Standalone, std::move(farm));
}

std::unique_ptr<BusTransport> MakeDistributedTransport(Deployment::FarmHook farm) {
    return std::make_unique<Deployment::DeployedTransport>(Deployment::Mode::Distributed, std::move(farm));
}

}  // namespace PlatformAbstraction::Messaging
