#include "platform/rest/RestGateway.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/rest/GatewayFixture.h"

namespace PlatformAbstraction::Rest {
namespace {

using namespace std::string_literals;
using Messaging::MessageAnswer;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string kJson = "Content-Type: application/json\r\n";
const std::string kChunked = "Transfer-Encoding: chunked\r\n";
const std::string kBody = R"({"a":1})";

std::string OutcomeOf(const RawResponse& response) {
    return std::to_string(response.status) + " " + response.ErrorCode();
}

TEST_F(GatewayTest, AnswersEveryKindOfRequestWithItsStatus) {
    settings.maxBodyBytes = 32;
    settings.allowedOrigins = {"http://page.example"};
    Start();
    const auto submit = [](const std::string& fields, const std::string& body = kBody) {
        return Request("POST /submit", fields, body);
    };
    const auto ofType = [](const std::string& type) { return "Content-Type: " + type + "\r\n"; };
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"200 ", {GetVideo(), submit(kJson), Request("POST /messages/noPath", kJson, kBody)}},
        {"200 ",
         {Request("POST /messages/noPath"), submit(ofType("text/plain") + "Content-Length: 0\r\n", "")}},
        {"200 ",
         {submit(ofType("Application/JSON ; charset=\"UTF-8\"")),
          GetVideo("Origin: http://page.example\r\n")}},
        // A literal goes before a placeholder, unless it has other methods.
        {"200 ",
         {Request("GET /jobs/all"), Request("DELETE /jobs/all"), Request("GET http://127.0.0.1/jobs/all")}},
        {"404 NOT_FOUND",
         {Request("GET /nothing"), Request("GET /Formats/video"), Request("GET /formats/video/")}},
        {"404 NOT_FOUND",
         {Request("GET /formats%2Fvideo"), Request("DELETE /jobs/"), Request("POST /messages/nopath")}},
        {"405 METHOD_NOT_ALLOWED",
         {Request("PUT /jobs/all"), Request("GET /messages/noPath"), Request("OPTIONS /submit")}},
        {"400 BODY_NOT_JSON", {submit(kJson, "{")}},
        {"400 BODY_NOT_AN_OBJECT", {submit(kJson, "[1]")}},
        {"400 BAD_QUERY", {Request("GET /formats/video?a=%FF")}},
        {"400 BAD_PATH", {Request("DELETE /jobs/%zz")}},
        {"415 UNSUPPORTED_MEDIA_TYPE",
         {submit(""), submit(ofType("text/json")), submit(ofType("application/json; charset=latin1")),
          submit(kJson + "Content-Encoding: gzip\r\n"), submit(kChunked, "") + "2\r\n{}\r\n0\r\n\r\n"}},
        {"413 BODY_TOO_LARGE",
         {submit(kJson, std::string(33, ' ')), submit(kJson + kChunked, "") + "21\r\n"}},
        {"400 MALFORMED_REQUEST",
         {submit(kJson + kChunked, "") + "x\r\n", "GET / HTTP/1.1\r\n\r\n", "GET / HTTP/1.1\n",
          Request("GET http://evil.example/formats/video")}},
        {"431 HEADERS_TOO_LARGE", {"GET /" + std::string(8192, 'a')}},
        {"403 FOREIGN_HOST",
         {"GET /formats/video HTTP/1.1\r\nHost: evil.example\r\n\r\n",
          "GET /formats/video HTTP/1.1\r\nHost: localhost:1\r\n\r\n"}},
        {"403 FOREIGN_ORIGIN",
         {GetVideo("Origin: http://evil.example\r\n"), GetVideo("Origin: null\r\n"),
          GetVideo("Origin: http://page.example.evil\r\n")}},
    };
    for (const auto& [outcome, requests] : rows) {
        for (const std::string& request : requests) {
            const RawResponse response = Ask(port, request);
            EXPECT_EQ(OutcomeOf(response), outcome) << request;
            EXPECT_EQ(response.Header("content-type"), "application/json") << request;
            EXPECT_EQ(response.status == 405, !response.Header("allow").empty()) << request;
        }
    }
    EXPECT_EQ(Ask(port, Request("PUT /jobs/all")).Header("allow"), "GET, DELETE");
}

TEST_F(GatewayTest, BuildsTheRequestFromBodyQueryAndPath) {
    Start();
    const std::pair<std::string, const char*> rows[] = {
        {Request("POST /submit?b=2&c=x", kJson, R"({"a":1.0,"b":"body"})"),
         R"(Submit {"a":1.0,"b":2,"c":"x"} {})"},
        {Request("DELETE /jobs/12%20%C3%A4?clientKey=query&x=1", kJson, R"({"clientKey":5,"y":null})"),
         R"(removeJob {"clientKey":"12 ä","y":null,"x":1} {})"},
        {Request("DELETE /jobs/12"), R"(removeJob {"clientKey":"12"} {})"},
        {Request("GET /formats/video?context=mine&identity=me"),
         R"(getVideo {"context":"mine","identity":"me"} {})"},
    };
    for (const auto& [request, message] : rows) {
        EXPECT_EQ(Ask(port, request).status, 200) << message;
        EXPECT_EQ(sink.LastMessage(), message);
    }
}

TEST_F(GatewayTest, TellsTheClientNothingOfTheProcess) {
    sink.ThrowOnDeliver();
    Start();
    const RawResponse response = Ask(port, GetVideo());
    EXPECT_EQ(response.status, 500);
    EXPECT_THAT(response.body, Not(HasSubstr("secret")));
    EXPECT_EQ(response.Header("server"), "");
    EXPECT_EQ(response.Header("cache-control"), "no-store");
    EXPECT_EQ(response.Header("x-content-type-options"), "nosniff");
}

TEST_F(GatewayTest, TellsWhatTheServiceDoesNotTake) {
    Start();
    for (const char* const code : {"QUEUE_FULL", "SERVICE_STOPPING"}) {
        sink.RespondWith(MessageAnswer::OfError(code, "not now"));
        const RawResponse response = Ask(port, GetVideo());
        EXPECT_EQ(response.status, 503);
        EXPECT_NE(response.Header("retry-after"), "");
    }
}

TEST_F(GatewayTest, LetsAllowedPagesCallAcrossOrigins) {
    settings.allowedOrigins = {"http://page.example"};
    Start();
    const RawResponse preflight = Ask(port, Request("OPTIONS /submit",
                                                    "Origin: http://page.example\r\n"
                                                    "Access-Control-Request-Method: POST\r\n"));
    EXPECT_EQ(preflight.status, 204);
    EXPECT_EQ(preflight.Header("access-control-allow-origin"), "http://page.example");
    EXPECT_THAT(preflight.Header("access-control-allow-methods"), HasSubstr("POST"));
    EXPECT_EQ(preflight.Header("content-length"), "");
    const RawResponse answer = Ask(port, Request("GET /nothing", "Origin: http://page.example\r\n"));
    EXPECT_EQ(answer.Header("access-control-allow-origin"), "http://page.example");
    EXPECT_EQ(answer.Header("vary"), "Origin");
    EXPECT_EQ(Ask(port, GetVideo()).Header("access-control-allow-origin"), "");
    EXPECT_EQ(Ask(port, Request("OPTIONS *")).Header("allow"), "GET, POST, DELETE, OPTIONS");
}

TEST_F(GatewayTest, KnowsItsCallersByTheirTokens) {
    settings.callers = {{Sha256("first token"), "id-1", "First"}, {Sha256("second"), "id-2", "Second"}};
    Start();
    for (const char* field :
         {"", "Authorization: Bearer third\r\n", "Authorization: Bearer\r\n", "Authorization: Bearer \r\n",
          "Authorization: Basic second\r\n", "Authorization: second\r\n"}) {
        const RawResponse response = Ask(port, Request("GET /nothing", field));
        EXPECT_EQ(response.status, 401) << field;
        EXPECT_EQ(response.Header("www-authenticate"), "Bearer") << field;
    }
    EXPECT_EQ(Ask(port, GetVideo("Authorization: bearer second\r\n")).status, 200);
    EXPECT_EQ(sink.LastMessage(),
              R"(getVideo {} {"context":{"identity":{"identityId":"id-2","displayName":"Second"}},)"
              R"("identity":{"identityId":"id-2","displayName":"Second"}})");
}

TEST_F(GatewayTest, AnswersRequestsThatWereSentAheadInTheirOrder) {
    sink.Hold();
    Start();
    RawClient client(port);
    client.Send(Request("GET /formats/video?n=1") + Post(R"({"n":2})") + Request("HEAD /submit") +
                Post(R"({"n":3})"));
    const auto first = sink.TakeHeld();
    EXPECT_EQ(sink.LastMessage(), R"(getVideo {"n":1} {})");
    first(MessageAnswer::OfText("1"));
    sink.TakeHeld()(MessageAnswer::OfText("22"));
    first(MessageAnswer::OfText("an answer too many"));
    EXPECT_EQ(client.ReadResponse()->body, "1");
    EXPECT_EQ(client.ReadResponse()->body, "22");
    EXPECT_EQ(client.ReadResponse(true)->status, 405);  // no body, lest it be read as the next answer
    sink.TakeHeld()(MessageAnswer::OfText("333"));
    EXPECT_EQ(client.ReadResponse()->body, "333");
}

TEST_F(GatewayTest, TakesARequestInSingleBytes) {
    Start();
    RawClient client(port);
    const std::string chunked =
        Request("POST /submit", kJson + kChunked) + "3;x\r\n{\"a\r\n4\r\n\":1}\r\n0\r\nTrailer: t\r\n\r\n";
    for (const std::string& request : {Post(R"({"a":1})"), chunked}) {
        for (const char byte : request) {
            client.Send(std::string_view(&byte, 1));
        }
        ASSERT_EQ(client.ReadResponse()->status, 200);
        EXPECT_EQ(sink.LastMessage(), R"(Submit {"a":1} {})");
    }
}

TEST_F(GatewayTest, TakesBodiesLargerThanItsBuffers) {
    Start();
    const std::string body = R"({"a":")" + std::string(1'000'000, 'x') + R"("})";
    RawClient client(port);
    EXPECT_EQ(client.Ask(Post(body) + GetVideo()).status, 200);
    EXPECT_EQ(client.ReadResponse()->status, 200);
    EXPECT_EQ(sink.LastMessage(), "getVideo {} {}");
}

TEST_F(GatewayTest, AsksForABodyOnlyAfterItsChecks) {
    settings.maxBodyBytes = 8;
    Start();
    RawClient client(port);
    const std::string fields = kJson + "Expect: 100-continue\r\n";
    EXPECT_EQ(client.Ask(Request("POST /submit", fields + "Content-Length: 7\r\n")).status, 100);
    EXPECT_EQ(client.Ask(R"({"a":1})").status, 200);
    EXPECT_EQ(client.Ask(Request("POST /submit", fields + "Content-Length: 9\r\n")).status, 413);
    EXPECT_TRUE(client.ReadsEnd());
}

TEST_F(GatewayTest, ReadsNothingBehindARefusedRequest) {
    Start();
    const std::string hidden = Request("DELETE /jobs/7");
    for (const std::string& request :
         {"GET / HTTP/1.1\r\n\r\n"s, Request("POST /nothing", kJson, hidden),
          Request("POST /submit", "", hidden), Request("POST /submit", kChunked) + "x\r\n",
          GetVideo("Connection: close\r\n")}) {
        sink.RespondWith(MessageAnswer::OfText(""));
        RawClient client(port);
        client.Send(request + hidden);
        EXPECT_TRUE(client.ReadResponse().has_value()) << request;
        EXPECT_TRUE(client.ReadsEnd()) << request;
        EXPECT_THAT(sink.LastMessage(), Not(HasSubstr("removeJob"))) << request;
    }
}

TEST_F(GatewayTest, KeepsConnectionsOfOldClientsThatAskForIt) {
    Start();
    RawClient client(port);
    const std::string old = "GET /formats/video HTTP/1.0\r\nHost: localhost\r\n";
    EXPECT_EQ(client.Ask(old + "Connection: keep-alive\r\n\r\n").Header("connection"), "keep-alive");
    EXPECT_EQ(client.Ask(old + "\r\n").Header("connection"), "close");
    EXPECT_TRUE(client.ReadsEnd());
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
