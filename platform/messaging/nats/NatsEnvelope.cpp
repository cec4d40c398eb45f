#include "platform/messaging/nats/NatsEnvelope.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace PlatformAbstraction::Messaging {

namespace {

using CoreServices::Parameters;
using RequestKind = NatsRequest::Kind;
using AnswerKind = MessageAnswer::Kind;

constexpr std::int32_t kVersion = 1;
constexpr char kVersionKey[] = "v";
constexpr char kKindKey[] = "kind";
constexpr char kParentKey[] = "parent";
constexpr char kCodeKey[] = "code";
constexpr char kMessageKey[] = "message";

constexpr std::array<std::pair<RequestKind, const char*>, 3> kRequestKinds{
    {{RequestKind::Request, "request"},
     {RequestKind::Notification, "notification"},
     {RequestKind::Broadcast, "broadcast"}}};
constexpr std::array<std::pair<AnswerKind, const char*>, 3> kAnswerKinds{
    {{AnswerKind::Results, "results"}, {AnswerKind::Text, "text"}, {AnswerKind::Error, "error"}}};

constexpr std::size_t kIdDigits = 16;
constexpr int kHexadecimal = 16;

std::string DigitsOf(std::uint64_t number) {
    std::array<char, kIdDigits> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number, kHexadecimal).ptr;
    const auto length = static_cast<std::size_t>(end - digits.begin());
    return std::string(kIdDigits - length, '0').append(digits.data(), length);
}

std::uint64_t NumberOf(std::string_view digits) {
    std::uint64_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, kHexadecimal);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        throw std::runtime_error("The parent of a message is no id.");
    }
    return number;
}

template <typename Kinds, typename Kind>
Parameters HeadOf(const Kinds& kinds, Kind kind) {
    Parameters head;
    head.SetParameter(kVersionKey, kVersion);
    for (const auto& [candidate, name] : kinds) {
        if (candidate == kind) {
            head.SetParameter(kKindKey, name);
        }
    }
    return head;
}

template <typename Kinds>
auto KindOf(const Kinds& kinds, const Parameters& head) {
    std::int32_t version = 0;
    std::string kind;
    head.GetParameter(kKindKey, kind);
    if (!head.GetParameter(kVersionKey, version) || version != kVersion) {
        throw std::runtime_error("It is of another version of the bus.");
    }
    for (const auto& [candidate, name] : kinds) {
        if (kind == name) {
            return candidate;
        }
    }
    throw std::runtime_error("It is of an unknown kind.");
}

// Cuts the first line off.
std::string_view TakeLine(std::string_view& data) {
    const std::size_t end = data.find('\n');
    if (end == data.npos) {
        throw std::runtime_error("It ends too early.");
    }
    const std::string_view line = data.substr(0, end);
    data.remove_prefix(end + 1);
    return line;
}

std::string Lines(const std::string& first, const std::string& second, const std::string& third) {
    std::string lines;
    lines.reserve(first.size() + second.size() + third.size() + 2);
    return lines.append(first).append(1, '\n').append(second).append(1, '\n').append(third);
}

MessageAnswer ReadAnswer(std::string_view data) {
    const Parameters head = Parameters::fromJSON(TakeLine(data));
    switch (KindOf(kAnswerKinds, head)) {
        case AnswerKind::Results:
            return MessageAnswer::OfResults(Parameters::fromJSON(data));
        case AnswerKind::Text:
            return MessageAnswer::OfText(std::string(data));
        case AnswerKind::Error:
            break;
    }
    std::string code, message;
    head.GetParameter(kCodeKey, code);
    head.GetParameter(kMessageKey, message);
    return MessageAnswer::OfError(std::move(code), std::move(message), Parameters::fromJSON(data));
}

}  // namespace

std::string WriteNatsRequest(RequestKind kind, MessageId parent, const Parameters& context,
                             const Parameters& body) {
    Parameters head = HeadOf(kRequestKinds, kind);
    if (!parent.IsEmpty()) {
        head.SetParameter(kParentKey, DigitsOf(parent.process) + DigitsOf(parent.number));
    }
    return Lines(head.toJSON(), context.toJSON(), body.toJSON());
}

NatsRequest ReadNatsRequest(std::string_view data) {
    const Parameters head = Parameters::fromJSON(TakeLine(data));
    NatsRequest request;
    request.kind = KindOf(kRequestKinds, head);
    if (std::string parent; head.GetParameter(kParentKey, parent)) {
        const std::string_view id = parent;
        request.parent = {NumberOf(id.substr(0, kIdDigits)),
                          NumberOf(id.substr(std::min(id.size(), kIdDigits)))};
    }
    request.context = Parameters::fromJSON(TakeLine(data));
    request.body = Parameters::fromJSON(data);
    return request;
}

std::string WriteNatsAnswer(const MessageAnswer& answer) {
    Parameters head = HeadOf(kAnswerKinds, answer.kind);
    if (answer.kind == AnswerKind::Error) {
        head.SetParameter(kCodeKey, answer.code);
        head.SetParameter(kMessageKey, answer.message);
    }
    std::string data = head.toJSON().append(1, '\n');
    switch (answer.kind) {
        case AnswerKind::Results:
            return data.append(answer.results.toJSON());
        case AnswerKind::Text:
            return data.append(answer.text);
        case AnswerKind::Error:
            break;
    }
    return data.append(answer.details.toJSON());
}

MessageAnswer ReadNatsAnswer(std::string_view data) {
    try {
        return ReadAnswer(data);
    } catch (const std::runtime_error& error) {
        return MessageAnswer::OfError(kGenericServiceError,
                                      std::string("The answer cannot be read: ") + error.what());
    }
}

}  // namespace PlatformAbstraction::Messaging
