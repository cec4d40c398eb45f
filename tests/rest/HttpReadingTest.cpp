// What reads HTTP: the head of a request, its target, and a body in chunks.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/rest/ChunkedBody.h"
#include "platform/rest/RequestHead.h"
#include "platform/rest/RequestTarget.h"

namespace PlatformAbstraction::Rest {
namespace {

using namespace std::string_literals;

const std::string kHost = "Host: localhost:9900\r\n";

std::string Head(const std::string& requestLine, const std::string& fields) {
    return requestLine + "\r\n" + fields + "\r\n";
}

void ExpectRefusal(const std::string& head) {
    EXPECT_FALSE(CheckRequestHead(head).has_value()) << testing::PrintToString(head);
}

TEST(RequestHead, RefusesWhateverLeavesADoubt) {
    const std::string get = "GET / HTTP/1.1";
    ExpectRefusal("");
    ExpectRefusal("GET / HTTP/1.1\r\nHost: a\r\n");  // no empty line
    ExpectRefusal(Head(get, kHost) + "x");
    ExpectRefusal(Head("GET / HTTP/1.0", ""));
    ExpectRefusal(Head("POST / HTTP/1.0", kHost + "Transfer-Encoding: chunked\r\n"));
    ExpectRefusal(Head(get, " Accept: a\r\n" + kHost));
    for (const char* line :
         {"GET /", "GET / HTTP/0.9", "GET / HTTP/2.0", "GET / http/1.1", "GET / HTTP/1.1 ",
          // The method
          "GET  / HTTP/1.1", "GET\t/ HTTP/1.1", " GET / HTTP/1.1", " / HTTP/1.1", "G(T / HTTP/1.1",
          // The target
          "GET /a\x01 HTTP/1.1", "GET /a\x7f HTTP/1.1", "GET /\xc3\xa4 HTTP/1.1", "GET /a#b HTTP/1.1",
          "GET a HTTP/1.1", "GET * HTTP/1.1", "CONNECT localhost:9900 HTTP/1.1",
          "GET ftp://localhost/ HTTP/1.1", "GET http:///a HTTP/1.1", "GET http://me@localhost/ HTTP/1.1"}) {
        ExpectRefusal(Head(line, kHost));
    }
    for (const char* hosts :
         {"Accept: */*", "Host:", "Host: a\r\nHost: a", "Host: a\r\nHOST: b", "Host: a b", "Host: a,b",
          "Host: a/b", "Host: a:x", "Host: a:", "Host: a:65536", "Host: [::1"}) {
        ExpectRefusal(Head(get, std::string(hosts) + "\r\n"));
    }
    for (const std::string& field :
         {"Accept: a\r\n b"s, "Accept : a"s, "Accept"s, ": a"s, "Accept: a\0"s, "Accept: a\rb"s,
          "Accept: a\nb"s,
          // Two beliefs about where the body ends
          "Content-Length: 1\r\nContent-Length: 1"s, "Content-Length: 1, 1"s, "Content-Length: +1"s,
          "Content-Length: -1"s, "Content-Length: 0x1"s, "Content-Length:"s,
          "Content-Length: 18446744073709551617"s, "Content-Length: 1\r\nTransfer-Encoding: chunked"s,
          "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked"s, "Transfer-Encoding: chunked, chunked"s,
          "Transfer-Encoding: gzip, chunked"s, "Transfer-Encoding: identity"s,
          "Transfer-Encoding: \vchunked"s,
          // What may be there once, or not at all
          "Expect: miracles"s, "Origin: http://a\r\nOrigin: http://b"s,
          "Authorization: a\r\nAuthorization: b"s}) {
        ExpectRefusal(Head(get, kHost + field + "\r\n"));
    }
}

TEST(RequestHead, ReadsWhatItSays) {
    const std::string text =
        Head("POST http://[::1]:80/a/b?c=d&e HTTP/1.1",
             "hOST:   [::1]:80\t\r\nContent-Length: 0012\r\ncontent-type: application/json\r\n"
             "Expect: 100-Continue\r\nX-Other: \xe4 anything\r\nX-Other:\r\nConnection: upgrade, Close\r\n");
    const auto head = CheckRequestHead(text);  // points into the text
    ASSERT_TRUE(head.has_value());
    EXPECT_EQ(head->method, "POST");
    EXPECT_EQ(head->authority, "[::1]:80");
    EXPECT_EQ(head->path, "/a/b");
    EXPECT_EQ(head->query, "c=d&e");
    EXPECT_EQ(head->host, "[::1]:80");
    EXPECT_EQ(head->contentLength, 12U);
    EXPECT_EQ(head->contentType, "application/json");
    EXPECT_TRUE(head->expectsContinue);
    EXPECT_FALSE(head->keepAlive);
    EXPECT_FALSE(head->chunked);
}

TEST(RequestHead, KnowsWhenTheConnectionStays) {
    const std::string close = "Connection: close\r\n";
    const std::string keep = "Connection: Keep-Alive\r\n";
    const auto stays = [](const std::string& version, const std::string& fields) {
        return CheckRequestHead(Head("GET / HTTP/" + version, kHost + fields)).value().keepAlive;
    };
    EXPECT_TRUE(stays("1.1", ""));
    EXPECT_FALSE(stays("1.1", close));
    EXPECT_FALSE(stays("1.1", keep + close));
    EXPECT_FALSE(stays("1.0", ""));
    EXPECT_TRUE(stays("1.0", keep));
    EXPECT_FALSE(stays("1.0", "Connection: keep-alive, close\r\n"));
}

TEST(HeadScanner, DoesNotWaitForTheRestOfWhatIsNoHead) {
    for (const char* start :
         {"\r\n", "\n", "GET / HTTP/1.1\n", "GET / HTTP/1.1\r\nHost: a\n", "\x16\x03\x01", " GET"}) {
        HeadScanner scanner;
        EXPECT_EQ(scanner.Scan(start), HeadScanner::Progress::Malformed) << start;
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
    using Segments = std::vector<std::string>;
    EXPECT_EQ(ReadPath("/"), Segments({""}));
    EXPECT_EQ(ReadPath("/a/b"), Segments({"a", "b"}));
    EXPECT_EQ(ReadPath("/a/"), Segments({"a", ""}));
    EXPECT_EQ(ReadPath("/a%2Fb/c+d%20e"), Segments({"a/b", "c+d e"}));
    EXPECT_FALSE(ReadPath("/a%2").has_value());
    EXPECT_FALSE(ReadPath("/%FF").has_value());
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
    ExpectEnd(Progress::Complete, "a", {"1;x=\"y\"\r\na\r\n0;z\r\nA: b\r\nC: d\r\n\r\n"});
    ExpectEnd(Progress::Incomplete, "ab", {"3\r\nab"});
    ExpectEnd(Progress::TooLarge, "", {"9\r\n"});
    ExpectEnd(Progress::TooLarge, "abcde", {"5\r\nabcde\r\n4\r\n"});
    // Sizes, line ends, what stands behind a size, and the trailer
    ExpectEnd(Progress::Malformed, "", {"100000000\r\n", "\r\n", "+1\r\n", "0x1\r\n", "1 \r\na\r\n"});
    ExpectEnd(Progress::Malformed, "", {"1\na\r\n", "1;a\nb\r\n", "1\rX", "0\r\n\n"});
    ExpectEnd(Progress::Malformed, "a", {"1\r\nab\r\n", "1\r\na\n0\r\n\r\n"});
    ExpectEnd(Progress::Malformed, "", {"1;" + endless + "\r\na\r\n0\r\n\r\n"});
    ExpectEnd(Progress::Malformed, "", {"0\r\nA: b\r\n c\r\n\r\n", "0\r\n" + endless});
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
