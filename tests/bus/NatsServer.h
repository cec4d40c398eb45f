#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/bus/BusStories.h"

namespace TestSupport {

/// A server of the bus on a free port of this machine, which ends with the test.
class NatsServer {
public:
    explicit NatsServer(std::vector<std::string> options = {}) : m_options(std::move(options)) {
        const int probe = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = At(0);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(probe, Generic(address), size), 0);
        EXPECT_EQ(getsockname(probe, Generic(address), &size), 0);
        m_port = ntohs(address.sin_port);
        close(probe);
        Start();
    }
    NatsServer(const NatsServer&) = delete;
    NatsServer& operator=(const NatsServer&) = delete;
    ~NatsServer() { Kill(); }

    /// The program is not installed. In CI that is a failure, elsewhere a reason to skip.
    bool IsMissing() const { return m_isMissing; }
    std::string Url() const { return "127.0.0.1:" + std::to_string(m_port); }

    void Start() {
        std::vector<std::string> words{"nats-server", "-a", "127.0.0.1", "-p", std::to_string(m_port)};
        words.insert(words.end(), m_options.begin(), m_options.end());
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        m_isMissing =
            posix_spawnp(&m_pid, words[0].c_str(), &actions, nullptr, arguments.data(), environ) != 0;
        posix_spawn_file_actions_destroy(&actions);
        EXPECT_TRUE(m_isMissing || Eventually([this] { return Greets(); }));
    }
    void Kill() {
        if (m_pid > 0) {
            Signal(SIGKILL);
            waitpid(std::exchange(m_pid, 0), nullptr, 0);
        }
    }
    void Signal(int signal) const {
        kill(m_pid, signal);
        if (signal == SIGSTOP) {
            waitpid(m_pid, nullptr, WUNTRACED);
        }
    }

private:
    static sockaddr_in At(std::uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    static sockaddr* Generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

    bool Greets() const {
        const int peer = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = At(m_port);
        char first = 0;
        const bool greets =
            connect(peer, Generic(address), sizeof address) == 0 && read(peer, &first, 1) == 1;
        close(peer);
        return greets;
    }

    const std::vector<std::string> m_options;
    std::uint16_t m_port = 0;
    pid_t m_pid = 0;
    bool m_isMissing = false;
};

/// For the begin of a test's `SetUp`.
#define QUILLON_NEEDS_NATS(server)                                                              \
    do {                                                                                        \
        if ((server).IsMissing()) {                                                             \
            if (std::getenv("CI") != nullptr) {                                                 \
                FAIL() << "nats-server is not installed.";                                      \
            }                                                                                   \
            GTEST_SKIP() << "NOT TESTED: nats-server is not installed (scripts/packages.txt)."; \
        }                                                                                       \
    } while (false)

}  // namespace TestSupport
