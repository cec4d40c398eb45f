#include "tests/stores/MongoServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

namespace {

bool Listens(const std::string& port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isThere = ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    ::close(socket);
    return isThere;
}

}  // namespace

MongoServer& MongoServer::Shared() {
    static MongoServer server;
    return server;
}

MongoServer::MongoServer(std::vector<std::string> options) : m_options(std::move(options)) {
    Start();
}

MongoServer::~MongoServer() {
    Kill();
}

void MongoServer::Start() {
    const char* const script = std::getenv("QUILLON_MONGO");
    std::vector<std::string> words{script == nullptr ? "scripts/mongo.sh" : script, "run",
                                   m_directory.Path().string()};
    words.insert(words.end(), m_options.begin(), m_options.end());
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    m_process = ::fork();
    if (m_process == 0) {
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (Port().empty() || !Listens(Port())) {
        if (::waitpid(m_process, nullptr, WNOHANG) != 0 || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the server does not start");
        }
        std::this_thread::sleep_for(10ms);
    }
}

void MongoServer::Kill() {
    if (m_process > 0) {
        Signal(SIGKILL);
        ::waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

void MongoServer::Signal(int signal) const {
    ::kill(m_process, signal);
}

std::string MongoServer::Port() const {
    std::ifstream file(m_directory.File("port"));
    std::string port;
    file >> port;
    return port;
}

CommonServices::MongoSettings MongoServer::Settings() const {
    static std::atomic<int> count{0};
    CommonServices::MongoSettings settings;
    settings.uri = "mongodb://127.0.0.1:" + Port() + "/?replicaSet=secantus";
    settings.database = "test" + std::to_string(++count);
    settings.relayAge = 200ms;
    settings.leaseLife = 400ms;
    return settings;
}
