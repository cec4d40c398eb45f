// Requests in a row: where each ends, and what its head says, whatever pieces the bytes come in. What our
// reader of heads takes is read by Beast's too, and the same way.

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <string>
#include <variant>

#include "fuzz/FuzzTarget.h"
#include "platform/rest/ChunkedBody.h"
#include "platform/rest/HttpText.h"
#include "platform/rest/RequestHead.h"

namespace Fuzzing {

namespace {

using namespace PlatformAbstraction::Rest;
namespace http = boost::beast::http;

constexpr std::size_t kMaxBodyBytes = 64;

std::size_t CountFields(std::string_view head, std::string_view name) {
    std::size_t count = 0;
    for (std::size_t at = head.find("\r\n"); at + 4 < head.size(); at = head.find("\r\n", at + 2)) {
        const std::string_view line = head.substr(at + 2);
        count += EqualsIgnoringCase(line.substr(0, line.find(':')), name) ? 1U : 0U;
    }
    return count;
}

void CheckAlone(std::string_view text, const RequestHead& head) {
    Check(head.path == "*" ? head.method == "OPTIONS" : head.path.starts_with('/'), "a target is a path");
    Check(text.find("\r\n ") == text.npos && text.find("\r\n\t") == text.npos, "no line is folded");
    const std::size_t hosts = CountFields(text, "Host");
    Check(hosts == (head.host ? 1 : 0) && (head.host || head.isHttp10),
          "there is one host, unless the client is old");
    const std::size_t lengths = CountFields(text, "Content-Length");
    const std::size_t codings = CountFields(text, "Transfer-Encoding");
    Check(lengths + codings <= 1 && head.chunked == (codings == 1) && !(head.chunked && head.isHttp10) &&
              (lengths == 1 || head.contentLength == 0),
          "there is one word on where the body ends");
}

void CheckBeside(std::string_view text, const RequestHead& head) {
    const std::string_view line = text.substr(0, text.find("\r\n"));
    if (!line.ends_with("1.0") && !line.ends_with("1.1")) {
        return;  // it knows no later version
    }
    http::request_parser<http::string_body> other;
    other.header_limit(65536);
    other.body_limit(boost::none);
    boost::system::error_code error;
    other.put(boost::asio::buffer(text.data(), text.size()), error);
    const bool saysConnection = CountFields(text, "Connection") > 0;
    if (error && error != http::error::need_more) {
        // It looks into two fields that need not concern us.
        Check(saysConnection || CountFields(text, "Proxy-Connection") + CountFields(text, "Upgrade") > 0,
              "no other reader refuses the head");
        return;
    }
    Check(other.is_header_done(), "both see the same end of the head");
    const auto& message = other.get();
    Check(std::string_view(message.method_string()) == head.method, "both read the same method");
    std::string target(head.path);
    if (line.find('?') != line.npos) {
        target.append("?").append(head.query);
    }
    Check(std::string_view(message.target()).ends_with(target) || head.authority,
          "both read the same target");
    Check(other.chunked() == head.chunked, "both see the same kind of body");
    Check(head.chunked || other.content_length().value_or(0) == head.contentLength,
          "both read the same length");
    Check(head.keepAlive == other.keep_alive() || saysConnection, "both agree on who stays");
}

// What was read of the whole, as text.
std::string ReadInPieces(std::string_view input, std::size_t pieceSize) {
    std::string seen;
    std::size_t begin = 0;
    std::size_t end = 0;
    const auto more = [&] {
        const bool isThere = end < input.size();
        end = std::min(input.size(), end + pieceSize);
        return isThere;
    };
    const auto buffered = [&] { return input.substr(begin, end - begin); };
    while (true) {
        HeadScanner scanner;
        HeadScanner::Progress progress = scanner.Scan(buffered());
        while (progress == HeadScanner::Progress::Incomplete && more()) {
            progress = scanner.Scan(buffered());
        }
        if (progress != HeadScanner::Progress::Complete) {
            return seen + (progress == HeadScanner::Progress::Malformed ? "malformed" : "incomplete");
        }
        const std::string_view text = scanner.GetHead(buffered());
        const auto read = ReadRequestHead(text);
        const auto* const head = std::get_if<RequestHead>(&read);
        if (head == nullptr) {
            return seen + "refused";
        }
        CheckAlone(text, *head);
        CheckBeside(text, *head);
        begin += scanner.GetEnd();
        seen.append(head->method).append(" ").append(head->path).append("\n");
        if (!head->chunked) {
            while (end - begin < head->contentLength && more()) {
            }
            seen.append(buffered().substr(0, head->contentLength)).append("\n");
            if (end - begin < head->contentLength) {
                return seen + "incomplete body";
            }
            begin += head->contentLength;
            continue;
        }
        ChunkedBody chunks(kMaxBodyBytes);
        std::string body;
        auto chunked = ChunkedBody::Progress::Incomplete;
        do {
            std::string_view piece = buffered();
            chunked = chunks.Read(piece, body);
            begin = end - piece.size();
            Check(body.size() <= kMaxBodyBytes, "a body keeps to its limit");
        } while (chunked == ChunkedBody::Progress::Incomplete && more());
        seen.append(body).append("\n");
        if (chunked != ChunkedBody::Progress::Complete) {
            return seen + std::to_string(static_cast<int>(chunked));
        }
    }
}

}  // namespace

void RunOne(std::string_view input) {
    Check(ReadInPieces(input, 1) == ReadInPieces(input, input.size() + 1),
          "where the bytes are cut does not matter");
}

}  // namespace Fuzzing
