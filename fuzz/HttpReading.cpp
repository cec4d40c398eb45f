// Requests in a row: where each ends, and what its head says, whatever pieces the bytes come in. What our
// reader of heads takes is read by Beast's too, and the same way.

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <string>
#include <vector>

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
    const std::string_view line = text.substr(0, text.find("\r\n"));
    Check(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c < 0x7f; }),
          "a request line is plain ASCII");
    Check(std::none_of(text.begin(), text.end(),
                       [](char c) { return c >= 0 && c < ' ' && c != '\t' && c != '\r' && c != '\n'; }),
          "there are no control characters");
    Check(text.find("\r\n ") == text.npos && text.find("\r\n\t") == text.npos, "no line is folded");
    Check(CountFields(text, "Host") == 1 && ReadHostAndPort(head.host), "there is one host");
    const std::size_t lengths = CountFields(text, "Content-Length");
    const std::size_t codings = CountFields(text, "Transfer-Encoding");
    Check(lengths + codings <= 1 && head.chunked == (codings == 1) && !(head.chunked && head.isHttp10) &&
              (lengths == 1 || head.contentLength == 0),
          "there is one word on where the body ends");
}

void CheckBeside(std::string_view text, const RequestHead& head) {
    http::request_parser<http::string_body> other;
    other.header_limit(65536);
    other.body_limit(boost::none);
    boost::system::error_code error;
    other.put(boost::asio::buffer(text.data(), text.size()), error);
    if (error && error != http::error::need_more) {
        // It looks into two fields that need not concern us.
        Check(CountFields(text, "Connection") + CountFields(text, "Proxy-Connection") > 0 ||
                  CountFields(text, "Upgrade") > 0,
              "no other reader refuses the head");
        return;
    }
    Check(other.is_header_done(), "both see the same end of the head");
    const auto& message = other.get();
    Check(std::string_view(message.method_string()) == head.method, "both read the same method");
    const std::string_view target(message.target());
    Check(head.path == "*" ||
              target.ends_with(std::string(head.path) +
                               (head.query.empty() ? "" : "?" + std::string(head.query))) ||
              (head.query.empty() && target.ends_with('?')) || head.path == "/",
          "both read the same target");
    Check(other.chunked() == head.chunked, "both see the same kind of body");
    Check(head.chunked || other.content_length().value_or(0) == head.contentLength,
          "both read the same length");
    Check(head.keepAlive == other.keep_alive() || CountFields(text, "Connection") > 0,
          "both agree on who stays");
}

// What was read of the whole, as text.
std::string ReadInPieces(std::string_view input, std::size_t pieceSize) {
    std::string seen;
    HeadScanner scanner;
    std::size_t begin = 0;
    std::size_t end = 0;
    const auto more = [&] {
        const bool isThere = end < input.size();
        end = std::min(input.size(), end + pieceSize);
        return isThere;
    };
    const auto buffered = [&] { return input.substr(begin, end - begin); };
    while (true) {
        scanner.Reset();
        HeadScanner::Progress progress = scanner.Scan(buffered());
        while (progress == HeadScanner::Progress::Incomplete && more()) {
            progress = scanner.Scan(buffered());
        }
        if (progress != HeadScanner::Progress::Complete) {
            return seen + (progress == HeadScanner::Progress::Malformed ? "malformed" : "incomplete");
        }
        const std::string_view text = buffered().substr(0, scanner.GetHeadSize());
        const auto head = CheckRequestHead(text);
        if (!head) {
            return seen + "refused";
        }
        CheckAlone(text, *head);
        CheckBeside(text, *head);
        begin += text.size();
        seen.append(head->method).append(" ").append(head->path).append("\n");
        if (head->chunked) {
            ChunkedBody chunks(kMaxBodyBytes);
            std::string body;
            ChunkedBody::Progress read{};
            do {
                std::string_view piece = buffered();
                read = chunks.Read(piece, body);
                begin = end - piece.size();
                Check(body.size() <= kMaxBodyBytes, "a body keeps to its limit");
            } while (read == ChunkedBody::Progress::Incomplete && more());
            seen.append(body).append("\n");
            if (read != ChunkedBody::Progress::Complete) {
                return seen + std::to_string(static_cast<int>(read));
            }
        } else {
            while (end - begin < head->contentLength && more()) {
            }
            if (end - begin < head->contentLength) {
                return seen + "incomplete body";
            }
            seen.append(buffered().substr(0, head->contentLength)).append("\n");
            begin += head->contentLength;
        }
    }
}

}  // namespace

void RunOne(std::string_view input) {
    Check(ReadInPieces(input, 1) == ReadInPieces(input, input.size() + 1),
          "where the bytes are cut does not matter");
}

}  // namespace Fuzzing
