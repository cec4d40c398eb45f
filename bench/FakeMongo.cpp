// A database that costs nothing, to see what the service's own side of MongoDB costs: FakeMongo PORT speaks
// as much of the protocol as the store needs, agrees to everything at once and keeps nothing but the counter
// of places. Says where it listens; on SIGTERM it says how many upserts and updates came, and ends.
#include <arpa/inet.h>
#include <bson/bson.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

namespace {

// Of MongoDB's wire protocol.
struct Header {
    std::int32_t length;
    std::int32_t requestId;
    std::int32_t responseTo;
    std::int32_t opCode;
};
constexpr std::int32_t kOpReply = 1;
constexpr std::int32_t kOpQuery = 2004;
constexpr std::int32_t kOpMessage = 2013;
constexpr std::uint32_t kHasChecksum = 1;
constexpr std::uint32_t kMoreToCome = 2;
constexpr std::int32_t kMostMessageBytes = 48'000'000;

std::string g_address;
std::atomic<std::int64_t> g_places{0};
std::atomic<std::int64_t> g_upserts{0};
std::atomic<std::int64_t> g_updates{0};

/// A BSON document that goes with its scope.
class Reply {
public:
    Reply() { bson_init(&m_bson); }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;
    ~Reply() { bson_destroy(&m_bson); }

    bson_t* Get() { return &m_bson; }
    std::string_view Bytes() const {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes are bytes
        return {reinterpret_cast<const char*>(bson_get_data(&m_bson)), m_bson.len};
    }

private:
    bson_t m_bson;
};

template <typename Number>
Number NumberAt(std::string_view bytes, std::size_t place) {
    Number number;
    if (bytes.size() < place + sizeof number) {
        throw std::runtime_error("a message ends early");
    }
    std::memcpy(&number, bytes.data() + place, sizeof number);
    return number;
}

std::size_t LengthAt(std::string_view bytes, std::size_t place) {
    const auto length = NumberAt<std::int32_t>(bytes, place);
    if (length < 5 || static_cast<std::size_t>(length) > bytes.size() - place) {
        throw std::runtime_error("a message has parts that do not fit");
    }
    return static_cast<std::size_t>(length);
}

bson_t DocumentAt(std::string_view bytes, std::size_t place) {
    bson_t document;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes are bytes
    if (!bson_init_static(&document, reinterpret_cast<const std::uint8_t*>(bytes.data() + place),
                          LengthAt(bytes, place))) {
        throw std::runtime_error("a message holds no document");
    }
    return document;
}

/// A command with the documents that came beside it: where the first lies, and how many there are.
struct Request {
    bson_t command{};
    std::string_view documents;
    std::int32_t count = 0;
};

bool IsTrue(const bson_t& document, const char* key) {
    bson_iter_t at;
    return bson_iter_init_find(&at, &document, key) && bson_iter_as_bool(&at);
}

// An array that stands in the command itself.
std::int32_t CountInside(const bson_t& command, const char* key) {
    bson_iter_t at;
    bson_iter_t element;
    std::int32_t count = 0;
    if (bson_iter_init_find(&at, &command, key) && bson_iter_recurse(&at, &element)) {
        while (bson_iter_next(&element)) {
            ++count;
        }
    }
    return count;
}

void SayHello(bson_t* reply) {
    bson_t hosts;
    bson_append_bool(reply, "helloOk", -1, true);
    bson_append_bool(reply, "isWritablePrimary", -1, true);
    bson_append_bool(reply, "ismaster", -1, true);
    bson_append_utf8(reply, "setName", -1, "fake", -1);
    bson_append_int32(reply, "setVersion", -1, 1);
    bson_append_utf8(reply, "me", -1, g_address.c_str(), -1);
    bson_append_utf8(reply, "primary", -1, g_address.c_str(), -1);
    bson_append_array_begin(reply, "hosts", -1, &hosts);
    bson_append_utf8(&hosts, "0", -1, g_address.c_str(), -1);
    bson_append_array_end(reply, &hosts);
    bson_append_int32(reply, "maxBsonObjectSize", -1, 16 * 1024 * 1024);
    bson_append_int32(reply, "maxMessageSizeBytes", -1, kMostMessageBytes);
    bson_append_int32(reply, "maxWriteBatchSize", -1, 100'000);
    bson_append_int32(reply, "logicalSessionTimeoutMinutes", -1, 30);
    bson_append_int32(reply, "minWireVersion", -1, 0);
    bson_append_int32(reply, "maxWireVersion", -1, 17);
    bson_append_bool(reply, "readOnly", -1, false);
}

void FindNothing(const bson_t& command, std::string_view name, bson_t* reply) {
    bson_iter_t at;
    bson_t cursor;
    bson_t batch;
    const char* database = bson_iter_init_find(&at, &command, "$db") ? bson_iter_utf8(&at, nullptr) : "";
    const char* collection =
        bson_iter_init(&at, &command) && bson_iter_next(&at) ? bson_iter_utf8(&at, nullptr) : "";
    bson_append_document_begin(reply, "cursor", -1, &cursor);
    bson_append_int64(&cursor, "id", -1, 0);
    bson_append_utf8(&cursor, "ns", -1, (std::string(database) + "." + collection).c_str(), -1);
    bson_append_array_begin(&cursor, name == "getMore" ? "nextBatch" : "firstBatch", -1, &batch);
    bson_append_array_end(&cursor, &batch);
    bson_append_document_end(reply, &cursor);
}

// The store asks so for places alone.
void CountPlaces(const bson_t& command, bson_t* reply) {
    bson_iter_t at;
    bson_iter_t next;
    bson_t value;
    const bool isIncrement =
        bson_iter_init(&at, &command) && bson_iter_find_descendant(&at, "update.$inc.next", &next);
    const std::int64_t by = isIncrement ? bson_iter_as_int64(&next) : 0;
    bson_append_document_begin(reply, "value", -1, &value);
    bson_append_int64(&value, "next", -1, g_places += by);
    bson_append_document_end(reply, &value);
}

void CountUpdates(const Request& request, std::int32_t count) {
    if (count == 0) {
        return;
    }
    // All of one message are alike.
    const bool isUpsert = !request.documents.empty() && IsTrue(DocumentAt(request.documents, 0), "upsert");
    (isUpsert ? g_upserts : g_updates) += count;
}

void Answer(const Request& request, bson_t* reply) {
    bson_iter_t at;
    const std::string_view name =
        bson_iter_init(&at, &request.command) && bson_iter_next(&at) ? bson_iter_key(&at) : "";
    if (name == "hello" || name == "isMaster" || name == "ismaster") {
        SayHello(reply);
    } else if (name == "update" || name == "insert" || name == "delete") {
        const char* const part = name == "update" ? "updates" : name == "insert" ? "documents" : "deletes";
        const std::int32_t count = request.count + CountInside(request.command, part);
        bson_append_int32(reply, "n", -1, count);
        bson_append_int32(reply, "nModified", -1, count);
        if (name == "update") {
            CountUpdates(request, count);
        }
    } else if (name == "find" || name == "getMore" || name == "aggregate") {
        FindNothing(request.command, name, reply);
    } else if (name == "findAndModify" || name == "findandmodify") {
        CountPlaces(request.command, reply);
    }
    bson_append_double(reply, "ok", -1, 1);
}

// An OP_MSG: flags, then sections, of which one is the command and others are documents that belong to it.
Request ReadMessage(std::string_view body) {
    Request request;
    for (std::size_t place = sizeof(std::uint32_t); place < body.size();) {
        const char kind = body[place++];
        const std::size_t length = LengthAt(body, place);
        if (kind == 0) {
            request.command = DocumentAt(body, place);
        } else {
            const std::string_view section = body.substr(place, length);
            std::size_t at = section.find('\0', sizeof(std::int32_t)) + 1;
            request.documents = section.substr(at);
            for (; at < section.size(); at += LengthAt(section, at)) {
                ++request.count;
            }
        }
        place += length;
    }
    return request;
}

class Connection {
public:
    explicit Connection(int socket) : m_socket(socket) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { ::close(m_socket); }

    void Serve() {
        Header header{};
        std::vector<char> body;
        while (Receive(&header, sizeof header)) {
            if (header.length < static_cast<std::int32_t>(sizeof header) ||
                header.length > kMostMessageBytes) {
                throw std::runtime_error("a message is too long");
            }
            body.resize(static_cast<std::size_t>(header.length) - sizeof header);
            if (!Receive(body.data(), body.size())) {
                return;
            }
            Serve(header, {body.data(), body.size()});
        }
    }

private:
    bool Receive(void* to, std::size_t count) {
        return count == 0 || ::recv(m_socket, to, count, MSG_WAITALL) == static_cast<ssize_t>(count);
    }

    void Serve(const Header& header, std::string_view body) {
        Reply reply;
        std::string sent(sizeof(Header), '\0');
        if (header.opCode == kOpQuery) {
            const std::size_t name = body.find('\0', sizeof(std::int32_t));
            Answer({DocumentAt(body, name + 1 + 2 * sizeof(std::int32_t)), {}, 0}, reply.Get());
            sent.append(16, '\0').append({1, 0, 0, 0});  // flags, cursor and first; then how many documents
        } else if (header.opCode == kOpMessage) {
            const auto flags = NumberAt<std::uint32_t>(body, 0);
            if ((flags & kHasChecksum) != 0) {
                body.remove_suffix(sizeof(std::uint32_t));
            }
            Answer(ReadMessage(body), reply.Get());
            if ((flags & kMoreToCome) != 0) {
                return;
            }
            sent.append(sizeof(std::uint32_t) + 1, '\0');  // no flags; a section of the first kind
        } else {
            throw std::runtime_error("a message is of an unknown kind");
        }
        sent.append(reply.Bytes());
        const Header answer{static_cast<std::int32_t>(sent.size()), 0, header.requestId,
                            header.opCode == kOpQuery ? kOpReply : kOpMessage};
        std::memcpy(sent.data(), &answer, sizeof answer);
        if (::send(m_socket, sent.data(), sent.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(sent.size())) {
            throw std::system_error(errno, std::generic_category(), "send");
        }
    }

    const int m_socket;
};

void ServeAll(int listener) {
    for (;;) {
        const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            throw std::system_error(errno, std::generic_category(), "accept");
        }
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::thread([socket] {
            Connection connection(socket);
            try {
                connection.Serve();
            } catch (const std::exception& fault) {
                std::cerr << fault.what() << '\n';
            }
        }).detach();
    }
}

int Listen(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const int on = 1;
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): so the calls want it
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(listener, generic, size) != 0 || ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, generic, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen");
    }
    g_address = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    return listener;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const int listener = Listen(static_cast<std::uint16_t>(argc > 1 ? std::stoul(argv[1]) : 0));
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGUSR1);
        sigaddset(&signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        std::thread(ServeAll, listener).detach();
        std::cout << "Listening on " << g_address << std::endl;
        for (int signal = 0; signal != SIGTERM;) {
            sigwait(&signals, &signal);
            std::cout << "upserts " << g_upserts << " updates " << g_updates << std::endl;
        }
        std::_Exit(0);
    } catch (const std::exception& fault) {
        std::cerr << fault.what() << '\n';
        return 1;
    }
}
