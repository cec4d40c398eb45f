#include "tests/stores/KafkaBroker.h"

#include <spawn.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

KafkaBroker* KafkaBroker::Shared() {
    static const std::unique_ptr<KafkaBroker> broker = [] {
        std::unique_ptr<KafkaBroker> started(new KafkaBroker);
        started->Start();
        return started->WaitUntilReady() ? std::move(started) : nullptr;
    }();
    return broker.get();
}

KafkaBroker::~KafkaBroker() {
    Kill();
}

void KafkaBroker::Start() {
    // Its lines go to a file, so that those of the log under test can be looked at.
    const std::string command = "exec " QUILLON_KAFKA_SCRIPT " run \"$0\" >\"$0/output\" 2>&1";
    std::string words[] = {"bash", "-c", command, m_directory.Path().string()};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    if (::posix_spawnp(&m_process, "bash", nullptr, nullptr, arguments, environ) != 0) {
        throw std::runtime_error("cannot start bash");
    }
}

void KafkaBroker::Kill() {
    if (m_process > 0) {
        Send(SIGKILL);
        ::waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

void KafkaBroker::Send(int signal) const {
    ::kill(m_process, signal);
    if (signal == SIGSTOP) {
        ::waitpid(m_process, nullptr, WUNTRACED);  // a thread of its may go on for a moment
    }
}

bool KafkaBroker::IsAlive() {
    if (m_process > 0 && ::waitpid(m_process, nullptr, WNOHANG) != 0) {
        m_process = -1;
    }
    return m_process > 0;
}

bool KafkaBroker::WaitUntilReady() {
    const auto deadline = std::chrono::steady_clock::now() + 2min;
    while (IsAlive() && std::chrono::steady_clock::now() < deadline) {
        if (!std::filesystem::exists(m_directory.File("port"))) {
            std::this_thread::sleep_for(100ms);
            continue;
        }
        CommonServices::KafkaEventLog log(Settings());
        if (log.Produce(Weftline::Record("Ready", 1, "ready"), true)) {
            return true;
        }
    }
    return false;
}

std::string KafkaBroker::ContentOf(const std::string& file) const {
    std::ifstream stream(m_directory.File(file));
    std::string line;
    std::getline(stream, line);
    return line;
}

CommonServices::KafkaSettings KafkaBroker::Settings() const {
    CommonServices::KafkaSettings settings;
    settings.bootstrapServers = "127.0.0.1:" + ContentOf("port");
    settings.timeout = 20s;
    return settings;
}

CommonServices::KafkaSettings KafkaBroker::SecureSettings() const {
    CommonServices::KafkaSettings settings = Settings();
    settings.bootstrapServers = "127.0.0.1:" + ContentOf("tlsPort");
    settings.tls = true;
    settings.caFile = m_directory.File("certificate.pem");
    settings.saslMechanism = "PLAIN";
    settings.userName = "scheduler";
    settings.passwordFile = m_directory.File("password");
    return settings;
}

std::string KafkaBroker::Password() const {
    return ContentOf("password");
}

std::string FreshTopic() {
    static std::atomic<int> count{0};
    return "V2_WFJobEvents." + std::to_string(++count);
}
