#include "platform/messaging/nats/NatsSubject.h"

#include <charconv>
#include <cstddef>

namespace PlatformAbstraction::Messaging {

namespace {

// Subject and reply subject share a line of the protocol, of which a server takes 4096 bytes by default.
constexpr std::size_t kLongestToken = 768;
constexpr std::size_t kEscapeSize = 3;
constexpr char kEscape = '%';

bool StandsForItself(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

std::string TokenOf(std::string_view name) {
    static constexpr std::string_view kHexDigits = "0123456789ABCDEF";
    std::string token;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (StandsForItself(c)) {
            token += c;
        } else {
            token.append({kEscape, kHexDigits[byte >> 4U], kHexDigits[byte & 0xFU]});
        }
    }
    return token.empty() ? std::string(1, kEscape) : token;
}

}  // namespace

bool FitsSubject(std::string_view name) {
    return TokenOf(name).size() <= kLongestToken;
}

std::string SubjectOfService(NatsAudience audience, std::string_view service, std::string_view realm,
                             std::int32_t version) {
    return std::string(audience == NatsAudience::OneInstance ? "req." : "all.")
        .append(TokenOf(realm))
        .append(1, '.')
        .append(TokenOf(service))
        .append(1, '.')
        .append(std::to_string(version));
}

std::string SubjectOfOperation(std::string_view operation) {
    std::string token = TokenOf(operation.substr(0, kLongestToken));
    if (token.size() > kLongestToken) {
        token.resize(kLongestToken);
    }
    if (operation.size() > kLongestToken || token.size() == kLongestToken) {
        token += kEscape;
    }
    return token.insert(0, 1, '.');
}

std::string OperationOfSubject(std::string_view subject) {
    std::string_view token = subject.substr(subject.rfind('.') + 1);
    std::string operation;
    if (token == std::string_view(&kEscape, 1)) {
        return operation;
    }
    while (!token.empty()) {
        unsigned byte = 0;
        if (token[0] == kEscape && token.size() >= kEscapeSize &&
            std::from_chars(token.data() + 1, token.data() + kEscapeSize, byte, 16).ptr ==
                token.data() + kEscapeSize) {
            operation += static_cast<char>(byte);
            token.remove_prefix(kEscapeSize);
        } else {
            operation += token[0];
            token.remove_prefix(1);
        }
    }
    return operation;
}

}  // namespace PlatformAbstraction::Messaging
