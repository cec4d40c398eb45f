#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/mongo/MongoStore.h"
#include "tests/stores/TempDirectory.h"

/// A server of MongoDB's protocol with a directory of its own, which dies with this process.
class MongoServer {
public:
    /// The one that tests share who leave it alone.
    static MongoServer& Shared();

    /// Returns once it listens.
    explicit MongoServer(std::vector<std::string> options = {});
    ~MongoServer();
    MongoServer(const MongoServer&) = delete;
    MongoServer& operator=(const MongoServer&) = delete;

    void Start();
    void Kill();
    /// SIGSTOP and SIGCONT, for instance.
    void Signal(int signal) const;
    /// For a database that no other test uses, and for tests that do not want to wait long.
    CommonServices::MongoSettings Settings() const;

private:
    std::string Port() const;

    const TempDirectory m_directory;
    const std::vector<std::string> m_options;
    pid_t m_process = -1;
};
