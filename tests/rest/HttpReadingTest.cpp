// What reads HTTP: the head of a request, its target, and a body in chunks.

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <variant>
#include <vector>

#include "platform/rest/ChunkedBody.h"
#include "platform/rest/RequestHead.h"
#include "platform/rest/RequestTarget.h"

namespace PlatformAbstraction::Rest {
namespace {

using namespace std::string_literals;

const std::string kHost = "Host: localhost:9900\r\n";
const std::string kGet = "GET / HTTP/1.1";

std::string Head(const std::string& requestLine, const std::string& fields) {
    return requestLine + "\r\n" + fields + "\r\n";
}

void ExpectRefusals(GatewayFailure failure, const std::string& before, const std::string& after,
                    const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        const std::string head = before + text + after;
        const auto read = ReadRequestHead(head);
        const auto* const given = std::get_if<GatewayFailure>(&read);
        EXPECT_TRUE(given != nullptr && *given == failure) << testing::PrintToString(head);
    }
}

TEST(RequestHead, RefusesWhateverLeavesADoubt) {
    using enum GatewayFailure;
    const std::string end = "\r\n\r\n";
    const std::string fields = "\r\n" + kHost + "\r\n";
    const std::string field = kGet + "\r\n" + kHost;
    const std::string length = field + "Content-Length: ";
    const std::string coding = field + "Transfer-Encoding: ";
    const std::string chunked = "Transfer-Encoding: chunked";
    ExpectRefusals(MalformedRequest, "", "",
                   {"", field, kGet + fields + "x", kGet + end, Head(kGet, " Accept: a\r\n" + kHost),
                    Head("GET / HTTP/1.0", "Host: a:x\r\n"), "POST / HTTP/1.0\r\n" + kHost + chunked + end});
    ExpectRefusals(MalformedRequest, "", " HTTP/1.1" + fields, {"GET ", "GET\t/", " GET /", " /", "G(T /"});
    ExpectRefusals(MalformedRequest, "GET ", " HTTP/1.1" + fields,
                   {"/a\x01", "/a\x7f", "/\xc3\xa4", "/a#b", "a", "*", "?", "ftp://localhost/", "http:///a",
                    "http://me@localhost/"});
    ExpectRefusals(MalformedRequest, "CONNECT ", " HTTP/1.1" + fields, {"localhost:9900"});
    ExpectRefusals(MalformedRequest, "GET /", fields,
                   {"", " http/1.1", " HTTP/1.1 ", " HTTP/11", " HTTP/1.10", " HTTP/1.x"});
    ExpectRefusals(UnknownVersion, "", fields, {"GET / HTTP/2.0", "PRI * HTTP/2.0", "GET / HTTP/0.9"});
    ExpectRefusals(
        MalformedRequest, kGet + "\r\nHost: ", end,
        {"", "a\r\nHost: a", "a\r\nHOST: b", "a b", "a,b", "a/b", "a:x", "a:65536", "[::1", "::1"});
    ExpectRefusals(MalformedRequest, field, end,
                   {"Accept: a\r\n b", "Accept : a", "Accept", ": a", "Accept: a\0"s, "A: a\rb", "A: a\nb",
                    "Origin: http://a\r\nOrigin: http://b", "Authorization: a\r\nAuthorization: b"});
    // Two beliefs about where the body ends
    ExpectRefusals(MalformedRequest, length, end,
                   {"1\r\nContent-Length: 1", "1, 1", "+1", "-1", "0x1", "", "18446744073709551617",
                    "1\r\n" + chunked, "1\r\nTransfer-Encoding: gzip"});
    ExpectRefusals(MalformedRequest, coding, end,
                   {"chunked\r\n" + chunked, "chunked, chunked", "chunked;a=b", "", "\vchunked"});
    ExpectRefusals(UnknownTransferCoding, coding, end, {"gzip, chunked", "gzip;q", "identity", "xchunked"});
    ExpectRefusals(UnknownExpectation, field + "Expect: ", end, {"miracles", "100-continue, miracles"});
}

std::string Told(const std::optional<HostAndPort>& host) {
    return host ? std::string(host->host) + (host->port ? ":" + std::to_string(*host->port) : "") : "-";
}

// method, path, query, authority, host, length; chunked, 100-continue, stays
TEST(RequestHead, ReadsWhatItSays) {
    const std::string close = "Connection: close\r\n";
    const std::string keep = "Connection: Keep-Alive\r\n";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"POST http://[::1]:80/a/b?c=d&e HTTP/1.1",
         "hOST:   [::1]:80\t\r\nContent-Length: 0012\r\nExpect: 100-Continue\r\nX-Other: \xe4 anything\r\n"
         "X-Other:\r\nConnection: upgrade, Close\r\n",
         "POST /a/b c=d&e [::1]:80 [::1]:80 12 010"},
        {"GET http://localhost?x=1 HTTP/1.1", "Host: localhost:\r\n", "GET / x=1 localhost localhost 0 001"},
        {"GET / HTTP/1.2", "Host: a\r\nTransfer-Encoding: Chunked\r\n" + keep, "GET /  - a 0 101"},
        {"GET /?a?b HTTP/1.1", "Host: a\r\n" + keep + close, "GET / a?b - a 0 000"},
        {"GET / HTTP/1.0", "Expect: 100-continue\r\n", "GET /  - - 0 000"},
        {"GET / HTTP/1.0", keep, "GET /  - - 0 001"},
        {"GET / HTTP/1.0", "Connection: keep-alive, close\r\n", "GET /  - - 0 000"},
    };
    for (const auto& [line, fields, told] : rows) {
        const std::string text = Head(line, fields);
        const auto head = std::get<RequestHead>(ReadRequestHead(text));  // points into the text
        std::ostringstream seen;
        seen << head.method << ' ' << head.path << ' ' << head.query << ' ' << Told(head.authority) << ' '
             << Told(head.host) << ' ' << head.contentLength << ' ' << head.chunked << head.expectsContinue
             << head.keepAlive;
        EXPECT_EQ(seen.str(), told) << text;
    }
}

TEST(RequestTarget, ReadsQueries) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "{}"},
        {"&&", "{}"},
        {"a=text&b", R"({"a":"text","b":""})"},
        {"a=1&b=-2.50e%2B3&c=9007199254740993&d=1e400",
         R"({"a":1,"b":-2.50e+3,"c":9007199254740993,"d":1e400})"},
        {"a=007&b=1.&c=.5&d=-&e=0x1&f=+1&g=1e&h=NaN&i=--1",
         R"({"a":"007","b":"1.","c":".5","d":"-","e":"0x1","f":" 1","g":"1e","h":"NaN","i":"--1"})"},
        {"a=true&b=false&c=null&d=True", R"({"a":true,"b":false,"c":null,"d":"True"})"},
        {"a=%221%22&b=%22true%22&c=%22%22&d=%22&e=%22x", R"({"a":"1","b":"true","c":"","d":"\"","e":"\"x"})"},
        {"a=1,%22b%22:2", R"({"a":"1,\"b\":2"})"},
        {"a=1&b=2&a=3", R"({"a":3,"b":2})"},
        {"a+b=c+d%2Be&%61=%C3%A4", R"({"a b":"c d+e","a":"ä"})"},
        {"a=b=c", R"({"a":"b=c"})"},
    };
    for (const auto& [query, json] : rows) {
        EXPECT_EQ(ReadQuery(query).value().toJSON(), json) << query;
    }
    for (const char* query : {"a=%", "a=%4", "a=%4x", "a=%x4", "%=1", "=1", "a=%FF", "a=%C0%80",
                              "a=%ED%A0%80", "a=%F4%90%80%80", "a=%C3", "a=1&b=%zz"}) {
        EXPECT_FALSE(ReadQuery(query).has_value()) << query;
    }
}

TEST(RequestTarget, CutsPathsBeforeItDecodesThem) {
    EXPECT_EQ(ReadPath("/"), std::vector<std::string>({""}));
    EXPECT_EQ(ReadPath("/a%2Fb/c+d%20e/"), std::vector<std::string>({"a/b", "c+d e", ""}));
    EXPECT_FALSE(ReadPath("/a%2") || ReadPath("/%FF"));
}

using Progress = ChunkedBody::Progress;

const std::string kNext = "GET /next";

/// Reads the text in pieces of that size: the end, the body, and whether just the next request is left over.
std::tuple<Progress, std::string, bool> ReadInPieces(std::string_view text, std::size_t pieceSize) {
    ChunkedBody chunks(8);
    auto progress = Progress::Incomplete;
    std::string body;
    while (!text.empty() && progress == Progress::Incomplete) {
        std::string_view piece = text.substr(0, pieceSize);
        const std::size_t size = piece.size();
        progress = chunks.Read(piece, body);
        text.remove_prefix(size - piece.size());
    }
    return {progress, body, text == kNext};
}

void ExpectEnd(Progress progress, const std::string& body, const std::vector<std::string>& texts) {
    const bool isComplete = progress == Progress::Complete;
    for (const std::string& text : texts) {
        for (const std::size_t pieceSize : {1U, 2U, 100000U}) {
            EXPECT_EQ(ReadInPieces(text + (isComplete ? kNext : ""), pieceSize),
                      std::tuple(progress, body, isComplete))
                << testing::PrintToString(text) << " in pieces of " << pieceSize;
        }
    }
}

TEST(ChunkedBody, ReadsTheSameWhereverItIsCut) {
    const std::string endless(ChunkedBody::kMostExtraBytes + 1, 'e');
    ExpectEnd(Progress::Complete, "", {"0\r\n\r\n"});
    ExpectEnd(Progress::Complete, "abc", {"3\r\nabc\r\n0\r\n\r\n"});
    ExpectEnd(Progress::Complete, "abcd\r\ne\n", {"3\r\nabc\r\n05\r\nd\r\ne\n\r\n00\r\n\r\n"});
    ExpectEnd(Progress::Complete, "a",
              {"1;x=\"y\"\r\na\r\n0;z\r\nA: b\r\nC:\r\n\r\n", "1;x;y=z\r\na\r\n0\r\n\r\n"});
    ExpectEnd(Progress::Complete, "a", {"1 ; x = \"a\\\"b;\\\\\"\t;y\r\na\r\n0\r\nA:b \r\n\r\n"});
    ExpectEnd(Progress::Incomplete, "ab", {"3\r\nab"});
    ExpectEnd(Progress::TooLarge, "", {"9\r\n"});
    ExpectEnd(Progress::TooLarge, "abcde", {"5\r\nabcde\r\n4\r\n"});
    ExpectEnd(Progress::Malformed, "a", {"1\r\nab\r\n", "1\r\na\n0\r\n\r\n"});
    // Sizes and line ends, extensions, the trailer
    ExpectEnd(Progress::Malformed, "",
              {"100000000\r\n", "\r\n", "+1\r\n", "0x1\r\n", "1 \r\na\r\n", "1\na\r\n", "1;a\nb\r\n", "1\rX",
               "1\r\r\n", "0\r\n\n"});
    ExpectEnd(Progress::Malformed, "",
              {"1;\r\n", "1;=a\r\n", "1;a=\r\n", "1;a b\r\n", "1;a=b c\r\n", "1;a;\r\n", "1;a=\"b\r\n",
               "1;a=\"b\\\"\r\n", "1;a=\"b\"c\r\n", "1;a \r\n", "1 x\r\n", "1;(\r\n", "1;a=\x01",
               "1;" + endless + "\r\na\r\n0\r\n\r\n"});
    ExpectEnd(Progress::Malformed, "",
              {"0\r\nA: b\r\n c\r\n\r\n", "0\r\n" + endless, "0\r\nGET /x HTTP/1.1\r\n", "0\r\nA: b\x7f",
               "0\r\nA\r\n", "0\r\nA : b\r\n", "0\r\n: b\r\n", "0\r\nA b: c\r\n"});
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
