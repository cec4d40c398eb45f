#include "RequestHead.h"

#include <gtest/gtest.h>

#include <string>

namespace PlatformAbstraction::Rest {
namespace {

constexpr char kHost[] = "Host: localhost:9900\r\n";

std::string Head(const std::string& requestLine, const std::string& fields) {
    return requestLine + "\r\n" + fields + "\r\n";
}

TEST(RequestHead, RefusesWhateverLeavesADoubt) {
    const std::string get = "GET / HTTP/1.1";
    const struct {
        const char* name;
        std::string head;
    } rows[] = {
        {"nothing", ""},
        {"no empty line", "GET / HTTP/1.1\r\nHost: a\r\n"},
        {"more behind the empty line", Head(get, kHost) + "x"},
        {"no version", Head("GET /", kHost)},
        {"version 0.9", Head("GET / HTTP/0.9", kHost)},
        {"version 2.0", Head("GET / HTTP/2.0", kHost)},
        {"version in lower case", Head("GET / http/1.1", kHost)},
        {"blank behind the version", Head("GET / HTTP/1.1 ", kHost)},
        {"two blanks before the target", Head("GET  / HTTP/1.1", kHost)},
        {"tab before the target", Head("GET\t/ HTTP/1.1", kHost)},
        {"blank before the method", Head(" GET / HTTP/1.1", kHost)},
        {"empty method", Head(" / HTTP/1.1", kHost)},
        {"no token as method", Head("G(T / HTTP/1.1", kHost)},
        {"control character in the target", Head("GET /a\x01 HTTP/1.1", kHost)},
        {"DEL in the target", Head("GET /a\x7f HTTP/1.1", kHost)},
        {"raw UTF-8 in the target", Head("GET /\xc3\xa4 HTTP/1.1", kHost)},
        {"fragment in the target", Head("GET /a#b HTTP/1.1", kHost)},
        {"target without slash", Head("GET a HTTP/1.1", kHost)},
        {"star of another method", Head("GET * HTTP/1.1", kHost)},
        {"authority form", Head("CONNECT localhost:9900 HTTP/1.1", kHost)},
        {"other scheme", Head("GET ftp://localhost/ HTTP/1.1", kHost)},
        {"absolute form without authority", Head("GET http:///a HTTP/1.1", kHost)},
        {"user in the authority", Head("GET http://me@localhost/ HTTP/1.1", kHost)},
        {"no host", Head(get, "Accept: */*\r\n")},
        {"no host in 1.0", Head("GET / HTTP/1.0", "")},
        {"empty host", Head(get, "Host:\r\n")},
        {"two hosts", Head(get, std::string(kHost) + kHost)},
        {"two hosts in different case", Head(get, std::string(kHost) + "HOST: b\r\n")},
        {"blank inside the host", Head(get, "Host: a b\r\n")},
        {"list of hosts", Head(get, "Host: a,b\r\n")},
        {"host with a path", Head(get, "Host: a/b\r\n")},
        {"port that is none", Head(get, "Host: a:x\r\n")},
        {"empty port", Head(get, "Host: a:\r\n")},
        {"port out of range", Head(get, "Host: a:65536\r\n")},
        {"bracket left open", Head(get, "Host: [::1\r\n")},
        {"folded line", Head(get, std::string(kHost) + "Accept: a\r\n b\r\n")},
        {"line that begins with a blank", Head(get, std::string(" Accept: a\r\n") + kHost)},
        {"blank before the colon", Head(get, std::string(kHost) + "Accept : a\r\n")},
        {"no colon", Head(get, std::string(kHost) + "Accept\r\n")},
        {"no name", Head(get, std::string(kHost) + ": a\r\n")},
        {"NUL in a value", Head(get, std::string(kHost) + "Accept: a" + '\0' + "\r\n")},
        {"lone CR in a value", Head(get, std::string(kHost) + "Accept: a\rb\r\n")},
        {"lone LF in a value", Head(get, std::string(kHost) + "Accept: a\nb\r\n")},
        {"two lengths", Head(get, std::string(kHost) + "Content-Length: 1\r\nContent-Length: 1\r\n")},
        {"list of lengths", Head(get, std::string(kHost) + "Content-Length: 1, 1\r\n")},
        {"signed length", Head(get, std::string(kHost) + "Content-Length: +1\r\n")},
        {"negative length", Head(get, std::string(kHost) + "Content-Length: -1\r\n")},
        {"hexadecimal length", Head(get, std::string(kHost) + "Content-Length: 0x1\r\n")},
        {"empty length", Head(get, std::string(kHost) + "Content-Length:\r\n")},
        {"length past 64 bits", Head(get, std::string(kHost) + "Content-Length: 18446744073709551617\r\n")},
        {"length beside chunked",
         Head(get, std::string(kHost) + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n")},
        {"chunked in 1.0", Head("POST / HTTP/1.0", std::string(kHost) + "Transfer-Encoding: chunked\r\n")},
        {"chunked twice", Head(get, std::string(kHost) + "Transfer-Encoding: chunked, chunked\r\n")},
        {"two encodings",
         Head(get, std::string(kHost) + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n")},
        {"encoding before chunked", Head(get, std::string(kHost) + "Transfer-Encoding: gzip, chunked\r\n")},
        {"other encoding", Head(get, std::string(kHost) + "Transfer-Encoding: identity\r\n")},
        {"chunked with a vertical tab", Head(get, std::string(kHost) + "Transfer-Encoding: \vchunked\r\n")},
        {"unknown expectation", Head(get, std::string(kHost) + "Expect: miracles\r\n")},
        {"two origins", Head(get, std::string(kHost) + "Origin: http://a\r\nOrigin: http://b\r\n")},
        {"two authorizations", Head(get, std::string(kHost) + "Authorization: a\r\nAuthorization: b\r\n")},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(CheckRequestHead(row.head).has_value()) << row.name;
    }
}

TEST(RequestHead, ReadsWhatItSays) {
    const auto head = CheckRequestHead(
        "POST http://[::1]:80/a/b?c=d&e HTTP/1.1\r\n"
        "hOST:   [::1]:80\t\r\n"
        "Content-Length: 0012\r\n"
        "content-type: application/json\r\n"
        "Expect: 100-Continue\r\n"
        "X-Other: \xe4 anything\r\n"
        "X-Other:\r\n"
        "Connection: upgrade, Close\r\n\r\n");
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
    const struct {
        const char* version;
        const char* connection;
        bool stays;
    } rows[] = {
        {"HTTP/1.1", "", true},
        {"HTTP/1.1", "Connection: close\r\n", false},
        {"HTTP/1.1", "Connection: keep-alive\r\nConnection: close\r\n", false},
        {"HTTP/1.0", "", false},
        {"HTTP/1.0", "Connection: Keep-Alive\r\n", true},
        {"HTTP/1.0", "Connection: keep-alive, close\r\n", false},
    };
    for (const auto& row : rows) {
        const auto head =
            CheckRequestHead(Head(std::string("GET / ") + row.version, std::string(kHost) + row.connection));
        ASSERT_TRUE(head.has_value());
        EXPECT_EQ(head->keepAlive, row.stays) << row.version << " " << row.connection;
    }
}

TEST(HeadScanner, FindsTheEndWhereverTheBytesAreCut) {
    const std::string head = Head("GET / HTTP/1.1", kHost);
    HeadScanner scanner;
    for (std::size_t size = 1; size < head.size(); ++size) {
        ASSERT_EQ(scanner.Scan(head.substr(0, size)), HeadScanner::Progress::Incomplete) << size;
    }
    ASSERT_EQ(scanner.Scan(head + "GET /next"), HeadScanner::Progress::Complete);
    EXPECT_EQ(scanner.GetHeadSize(), head.size());
}

TEST(HeadScanner, DoesNotWaitForTheRestOfWhatIsNoHead) {
    for (const char* start :
         {"\r\n", "\n", "GET / HTTP/1.1\n", "GET / HTTP/1.1\r\nHost: a\n", "\x16\x03\x01", " GET"}) {
        HeadScanner scanner;
        EXPECT_EQ(scanner.Scan(start), HeadScanner::Progress::Malformed) << start;
    }
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
