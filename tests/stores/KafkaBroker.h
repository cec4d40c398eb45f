#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/stores/kafka/KafkaEventLog.h"
#include "tests/stores/TempDirectory.h"

/// The real broker on this machine, one for the whole test program: started at the first use, killed with it.
class KafkaBroker {
public:
    /// Null where it is not here: tests that need it are then skipped, and fail in CI.
    static KafkaBroker* Shared();

    ~KafkaBroker();
    KafkaBroker(const KafkaBroker&) = delete;
    KafkaBroker& operator=(const KafkaBroker&) = delete;

    void Start();
    void Kill();
    void Send(int signal) const;

    CommonServices::KafkaSettings Settings() const;
    /// For its other listener, with TLS and a login.
    CommonServices::KafkaSettings SecureSettings() const;
    std::string Password() const;

private:
    KafkaBroker() = default;
    bool IsAlive();
    bool WaitUntilReady();
    std::string ContentOf(const std::string& file) const;

    const TempDirectory m_directory;
    pid_t m_process = -1;
};

/// A topic's name that no other test uses.
std::string FreshTopic();
