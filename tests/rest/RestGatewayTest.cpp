// What the gateway makes of requests, and who may send them.

#include "platform/rest/RestGateway.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/rest/GatewayFixture.h"

namespace PlatformAbstraction::Rest {
namespace {

using namespace std::string_literals;
using Messaging::Blame;
using Messaging::MessageAnswer;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string kJson = "Content-Type: application/json\r\n";
const std::string kChunked = "Transfer-Encoding: chunked\r\n";
const std::string kBody = R"({"a":1})";
const std::string kPage = "Origin: http://page.example\r\n";

TEST_F(GatewayTest, AnswersEveryKindOfRequestWithItsStatus) {
    settings.maxBodyBytes = 32;
    settings.allowedOrigins = {"http://page.example"};
    Start();
    const auto submit = [](const std::string& fields, const std::string& body = kBody) {
        return Request("POST /submit", fields, body);
    };
    const auto ofType = [&](const std::string& type) { return submit("Content-Type: " + type + "\r\n"); };
    const auto inChunks = [&](const std::string& text) { return submit(kJson + kChunked, "") + text; };
    const std::string getJobs = "GET /jobs/all HTTP/1.";
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"200 ",
         {GetVideo(), "\r\n" + GetVideo(), GetVideo(kPage),
          GetVideo(kPage + "Sec-Fetch-Site: cross-site\r\n"), GetVideo("Sec-Fetch-Site: same-origin\r\n"),
          Request("GET http://127.0.0.1/jobs/all"),
          // A literal goes before a placeholder, unless it has other methods.
          Request("GET /jobs/all"), Request("DELETE /jobs/all"), getJobs + "0\r\n\r\n",
          getJobs + "2\r\nHost: localhost:\r\n\r\n", Request("POST /messages/noPath"),
          Request("POST /messages/noPath", kJson, kBody), submit(kJson), submit("Content-Length: 0\r\n", ""),
          ofType("Application/JSON ; charset=\"UTF-8\""), inChunks("2;x=\"y\"\r\n{}\r\n0\r\nA: b\r\n\r\n")}},
        {"404 NOT_FOUND",
         {Request("GET /nothing"), Request("GET /Formats/video"), Request("GET /formats/video/"),
          Request("GET /formats%2Fvideo"), Request("DELETE /jobs/"), Request("POST /messages/nopath"),
          Request("GET http://localhost?x=1")}},
        {"405 METHOD_NOT_ALLOWED",
         {Request("PUT /jobs/all"), Request("GET /messages/noPath"), Request("OPTIONS /submit")}},
        {"400 BODY_NOT_JSON", {submit(kJson, "{"), submit(kJson, "{\"a\":\0}"s)}},
        {"400 BODY_NOT_AN_OBJECT", {submit(kJson, "[1]")}},
        {"400 BAD_QUERY", {Request("GET /formats/video?a=%FF")}},
        {"400 BAD_PATH", {Request("DELETE /jobs/%zz")}},
        {"415 UNSUPPORTED_MEDIA_TYPE",
         {submit(""), ofType("text/json"), ofType("application/json; charset=latin1"),
          submit(kJson + "Content-Encoding: gzip\r\n"), submit(kChunked, "") + "2\r\n{}\r\n0\r\n\r\n"}},
        {"413 BODY_TOO_LARGE",
         {submit(kJson, std::string(33, ' ')), inChunks("21\r\n"),
          submit(kJson + "Expect: 100-continue\r\nContent-Length: 33\r\n", "")}},
        {"400 MALFORMED_REQUEST",
         {"GET / HTTP/1.1\n", "\r\n\r\n", "\r\n\n", "GET / HTTP/1.1\r\nHost: a\n", "\x16\x03\x01", " GET",
          Request("GET http://evil.example/formats/video"), inChunks("x\r\n")}},
        {"501 UNKNOWN_TRANSFER_CODING", {submit("Transfer-Encoding: gzip\r\n", "")}},
        {"505 UNKNOWN_HTTP_VERSION", {"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"}},
        {"417 EXPECTATION_FAILED", {submit(kJson + "Expect: miracles\r\n")}},
        {"431 HEADERS_TOO_LARGE", {"GET /" + std::string(8192, 'a')}},
        {"403 FOREIGN_HOST",
         {getJobs + "1\r\nHost: evil.example\r\n\r\n", getJobs + "1\r\nHost: localhost:1\r\n\r\n",
          getJobs + "0\r\n" + kPage + "\r\n"}},
        {"403 FOREIGN_ORIGIN",
         {GetVideo("Origin: null\r\n"), GetVideo("Origin: http://page.example.evil\r\n"),
          GetVideo("Origin: http://page.example, http://page.example\r\n"),
          GetVideo("Sec-Fetch-Site: cross-site\r\n"), GetVideo("Sec-Fetch-Site: Same-Site\r\n"),
          Request("OPTIONS /submit", "Origin: null\r\nAccess-Control-Request-Method: POST\r\n")}},
    };
    for (const auto& [outcome, requests] : rows) {
        for (const std::string& request : requests) {
            const RawResponse response = Ask(port, request);
            EXPECT_EQ(std::to_string(response.status) + " " + response.ErrorCode(), outcome) << request;
            EXPECT_EQ(response.Header("content-type"), "application/json") << request;
            EXPECT_EQ(response.Header("cache-control") + response.Header("x-content-type-options"),
                      "no-storenosniff");
            EXPECT_EQ(response.status == 405, !response.Header("allow").empty()) << request;
        }
    }
    EXPECT_EQ(Ask(port, Request("PUT /jobs/all")).Header("allow"), "GET, HEAD, DELETE");
}

TEST_F(GatewayTest, BuildsTheRequestFromBodyQueryAndPath) {
    Start();
    const std::pair<std::string, const char*> rows[] = {
        {Request("POST /submit?b=2&c=x", kJson, R"({"a":1.0,"b":"body"})"),
         R"(Submit {"a":1.0,"b":2,"c":"x"} {})"},
        {Request("DELETE /jobs/12%20%C3%A4?clientKey=query&x=1", kJson, R"({"clientKey":5,"y":null})"),
         R"(removeJob {"clientKey":"12 ä","y":null,"x":1} {})"},
        {Request("GET /formats/video?context=mine&identity=me"),
         R"(getVideo {"context":"mine","identity":"me"} {})"},
    };
    for (const auto& [request, message] : rows) {
        EXPECT_EQ(Ask(port, request).status, 200) << message;
        EXPECT_EQ(sink.LastMessage(), message);
    }
}

TEST_F(GatewayTest, GivesEachErrorOfTheServiceItsStatusAndTellsNothingOfTheProcess) {
    Start();
    const std::pair<const char*, int> rows[] = {
        {"QUEUE_FULL", 503},         {"SERVICE_STOPPING", 503}, {"NOT_FOUND", 404}, {"BAD_REQUEST", 400},
        {"METHOD_NOT_ALLOWED", 405}, {"BUS_AWAY", 503},         {"ANY", 500}};
    for (const auto& [code, status] : rows) {
        sink.RespondWith(MessageAnswer::OfError(code, "not \0 now"s));
        const RawResponse response = Ask(port, GetVideo());
        EXPECT_EQ(response.status, status);
        EXPECT_EQ(response.Header("retry-after").empty(), status != 503) << code;
        EXPECT_EQ(response.Header("allow"), status == 405 ? "GET, HEAD" : "");
        EXPECT_EQ(response.body, R"({"error":{"code":")"s + code + R"(","message":"not \u0000 now"}})");
    }
    const std::pair<Blame, int> blames[] = {{Blame::Client, 400},      {Blame::Absent, 404},
                                            {Blame::Conflict, 409},    {Blame::Unprocessable, 422},
                                            {Blame::Unavailable, 503}, {Blame::Service, 500}};
    for (const auto& [blame, status] : blames) {
        MessageAnswer answer = MessageAnswer::OfError("ANY", "none");
        answer.blame = blame;
        answer.field = "queryID";
        sink.RespondWith(answer);
        const RawResponse response = Ask(port, GetVideo());
        EXPECT_EQ(response.status, status);
        EXPECT_EQ(response.body,
                  R"({"error":{"code":"ANY","message":"none","details":{"field":"queryID"}}})");
    }
    sink.throws = true;
    const RawResponse response = Ask(port, GetVideo());
    EXPECT_EQ(response.status, 500);
    EXPECT_THAT(response.body, Not(HasSubstr("secret")));
    EXPECT_EQ(response.Header("server"), "");
}

TEST_F(GatewayTest, LetsAllowedPagesCallAcrossOrigins) {
    settings.allowedOrigins = {"http://page.example"};
    Start();
    const RawResponse preflight =
        Ask(port, Request("OPTIONS /submit", kPage + "Access-Control-Request-Method: POST\r\n"));
    EXPECT_EQ(preflight.status, 204);
    EXPECT_EQ(preflight.Header("access-control-allow-origin"), "http://page.example");
    EXPECT_THAT(preflight.Header("access-control-allow-methods"), HasSubstr("POST"));
    EXPECT_EQ(preflight.Header("content-length"), "");
    const RawResponse answer = Ask(port, Request("GET /nothing", kPage));
    EXPECT_EQ(answer.Header("access-control-allow-origin"), "http://page.example");
    EXPECT_EQ(answer.Header("vary"), "Origin");
    EXPECT_EQ(Ask(port, GetVideo()).Header("access-control-allow-origin"), "");
    EXPECT_EQ(Ask(port, Request("OPTIONS *")).Header("allow"), "GET, HEAD, POST, DELETE, OPTIONS");
}

TEST_F(GatewayTest, AnswersRequestsThatWereSentAheadInTheirOrder) {
    sink.holds = true;
    Start();
    RawClient client(port);
    client.Send(Request("GET /formats/video?n=1") + "\r\n" + Post(R"({"n":2})") + Request("HEAD /submit") +
                Request("HEAD /formats/video") + Post(R"({"n":3})"));
    const auto first = sink.TakeHeld();
    EXPECT_EQ(sink.LastMessage(), R"(getVideo {"n":1} {})");
    first(MessageAnswer::OfText("1"));
    sink.TakeHeld()(MessageAnswer::OfText("22"));
    first(MessageAnswer::OfText("an answer too many"));
    EXPECT_EQ(client.ReadResponse()->body, "1");
    EXPECT_EQ(client.ReadResponse()->body, "22");
    EXPECT_EQ(client.ReadResponse(true)->status, 405);  // no body, lest it be read as the next answer
    sink.TakeHeld()(MessageAnswer::OfText("a body"));
    EXPECT_EQ(client.ReadResponse(true)->Header("content-length"), "6");
    sink.TakeHeld()(MessageAnswer::OfText("333"));
    EXPECT_EQ(client.ReadResponse()->body, "333");
}

TEST_F(GatewayTest, TakesRequestsInSingleBytesAfterAPauseAndLargerThanItsBuffers) {
    Start();
    RawClient client(port);
    for (const std::string& request :
         {Post(R"({"a":1})"), Request("POST /submit", kJson + kChunked) +
                                  "3;x\r\n{\"a\r\n4\r\n\":1}\r\n0\r\nTrailer: t\r\n\r\n"}) {
        for (const char byte : request) {
            client.Send(std::string_view(&byte, 1));
        }
        ASSERT_EQ(client.ReadResponse()->status, 200);
        EXPECT_EQ(sink.LastMessage(), R"(Submit {"a":1} {})");
    }
    const std::string announced = kJson + "Expect: 100-continue\r\nContent-Length: 7\r\n";
    EXPECT_EQ(client.Ask(Request("POST /submit", announced)).status, 100);
    EXPECT_EQ(client.Ask(kBody).status, 200);
    EXPECT_EQ(client.Ask(Post(R"({"a":")" + std::string(1'000'000, 'x') + R"("})") + GetVideo()).status, 200);
    EXPECT_EQ(client.ReadResponse()->status, 200);
    EXPECT_EQ(sink.LastMessage(), "getVideo {} {}");
}

TEST_F(GatewayTest, ReadsNothingBehindARefusedRequest) {
    Start();
    const std::string hidden = Request("DELETE /jobs/7");
    const std::string chunked = Request("POST /submit", kJson + kChunked);
    for (const std::string& request :
         {"GET / HTTP/1.1\r\n\r\n"s, Request("POST /nothing", kJson, hidden),
          Request("POST /submit", "", hidden), chunked + "x\r\n", chunked + "0\r\nTrailer\r\n\r\n",
          GetVideo("Connection: close\r\n"), GetVideo("Transfer-Encoding: gzip\r\n"),
          GetVideo("Expect: miracles\r\n"), GetVideo("Expect: 100-continue\r\nContent-Length: 5000000\r\n"),
          "GET / HTTP/2.0\r\n\r\n"s, "GET /jobs/all HTTP/1.0\r\n\r\n"s}) {
        RawClient client(port);
        client.Send(request + hidden);
        EXPECT_EQ(client.ReadResponse()->Header("connection"), "close") << request;
        EXPECT_TRUE(client.ReadsEnd()) << request;
        EXPECT_THAT(sink.LastMessage(), Not(HasSubstr("removeJob"))) << request;
    }
    RawClient old(port);
    EXPECT_EQ(old.Ask("GET /jobs/all HTTP/1.0\r\nConnection: keep-alive\r\n\r\n").Header("connection"),
              "keep-alive");
    EXPECT_EQ(old.Ask(GetVideo()).status, 200);
}

TEST_F(GatewayTest, FollowsItsCallersOnConnectionsThatAreOpen) {
    const std::vector<Caller> both = {{Sha256("day"), "id-day", "Day"},
                                      {Sha256("night"), "id-night", "Night"}};
    Start();
    std::vector<std::unique_ptr<RawClient>> clients;  // on every loop
    for (unsigned n = 0; n < 2 * settings.threads; ++n) {
        clients.push_back(std::make_unique<RawClient>(port));
    }
    const auto expect = [&](const std::string& token, int status) {
        for (const auto& client : clients) {
            const RawResponse response = client->Ask(GetVideo("Authorization: bearer " + token + "\r\n"));
            EXPECT_EQ(response.status, status) << token;
            EXPECT_EQ(response.Header("www-authenticate"), status == 401 ? "Bearer" : "") << token;
        }
    };
    gateway->SetCallers({both[1]});
    EXPECT_THROW(gateway->SetCallers({}), std::invalid_argument);
    expect("day", 401);
    std::atomic<bool> isOver{false};
    const auto asking = std::async(std::launch::async, [&] {
        while (!isOver) {
            expect("night", 200);
        }
    });
    for (int n = 0; n < 200; ++n) {
        gateway->SetCallers(n % 2 == 0 ? both : std::vector{both[1]});
    }
    isOver = true;
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
