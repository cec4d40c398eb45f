// Drives beanstalkd as bench/load.lua drives HTTP: QueueLoad PORT CONNECTIONS SECONDS FILE puts jobs with the
// file as their body from many connections, each of which puts the next when it has its answer. The summary
// is a line of JSON, with times in milliseconds.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// One blocking connection; a command and its answer are so small that neither is ever cut.
class Putter {
public:
    explicit Putter(std::uint16_t port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        if (m_socket < 0 || ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
            // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): so the call wants it
            ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            Fail("connect");
        }
    }
    Putter(Putter&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)), m_sent(other.m_sent) {}
    Putter(const Putter&) = delete;
    Putter& operator=(const Putter&) = delete;
    Putter& operator=(Putter&&) = delete;
    ~Putter() {
        if (m_socket >= 0) {
            ::close(m_socket);
        }
    }

    int Socket() const { return m_socket; }

    void Put(const std::string& command) {
        m_sent = Clock::now();
        if (::send(m_socket, command.data(), command.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(command.size())) {
            Fail("send");
        }
    }

    /// Milliseconds from the command to its answer.
    double TakeAnswer() {
        std::array<char, 256> text{};
        const ssize_t size = ::recv(m_socket, text.data(), text.size(), 0);
        const std::string_view answer(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
        if (!answer.starts_with("INSERTED ") || !answer.ends_with("\r\n")) {
            throw std::runtime_error("the queue answered \"" + std::string(answer) + "\"");
        }
        return std::chrono::duration<double, std::milli>(Clock::now() - m_sent).count();
    }

private:
    int m_socket;
    Clock::time_point m_sent;
};

std::string PutCommand(const char* file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string body{std::istreambuf_iterator<char>(stream), {}};
    if (body.empty()) {
        throw std::runtime_error("there is no body in " + std::string(file));
    }
    return "put 0 0 60 " + std::to_string(body.size()) + "\r\n" + body + "\r\n";
}

std::vector<double> Drive(std::vector<Putter>& putters, const std::string& command, Clock::time_point end) {
    std::vector<pollfd> waiting;
    for (Putter& putter : putters) {
        waiting.push_back({putter.Socket(), POLLIN, 0});
        putter.Put(command);
    }
    std::vector<double> times;
    while (Clock::now() < end) {
        if (::poll(waiting.data(), waiting.size(), 1000) < 0) {
            Fail("poll");
        }
        for (std::size_t n = 0; n < waiting.size(); ++n) {
            if (waiting[n].revents != 0) {
                times.push_back(putters[n].TakeAnswer());
                putters[n].Put(command);
            }
        }
    }
    return times;
}

double Quantile(const std::vector<double>& sorted, double part) {
    return sorted.empty() ? 0
                          : sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

void Run(std::uint16_t port, int connections, int seconds, const char* file) {
    const std::string command = PutCommand(file);
    std::vector<Putter> putters;
    for (int n = 0; n < connections; ++n) {
        putters.emplace_back(port);
    }
    const auto start = Clock::now();
    std::vector<double> times = Drive(putters, command, start + std::chrono::seconds(seconds));
    const double took = std::chrono::duration<double>(Clock::now() - start).count();
    std::sort(times.begin(), times.end());
    std::cout << R"({"requests": )" << times.size() << R"(, "seconds": )" << took << R"(, "p50": )"
              << Quantile(times, 0.5) << R"(, "p99": )" << Quantile(times, 0.99)
              << R"(, "refused": 0, "broken": 0})" << std::endl;
}

}  // namespace

int main(int count, char** arguments) try {
    if (count != 5) {
        std::cerr << "QueueLoad PORT CONNECTIONS SECONDS FILE\n";
        return 2;
    }
    Run(static_cast<std::uint16_t>(std::atoi(arguments[1])), std::atoi(arguments[2]), std::atoi(arguments[3]),
        arguments[4]);
    return 0;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
