#include "RestGateway.h"

#include <gmock/gmock.h>

#include <string>

#include "GatewayFixture.h"

namespace PlatformAbstraction::Rest {
namespace {

using CoreServices::Parameters;
using Messaging::MessageAnswer;
using Messaging::MessageSink;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kJson[] = "Content-Type: application/json\r\n";

TEST_F(GatewayTest, AnswersEveryKindOfRequestWithItsStatus) {
    settings.maxBodyBytes = 32;
    settings.allowedOrigins = {"http://page.example"};
    Start();
    const std::string body = R"({"a":1})";
    const struct {
        const char* name;
        std::string request;
        int status;
        const char* code;
    } rows[] = {
        {"path", Request("GET /formats/video"), 200, ""},
        {"path with body", Request("POST /submit", kJson, body), 200, ""},
        {"message by its name", Request("POST /messages/noPath", kJson, body), 200, ""},
        {"message without body", Request("POST /messages/noPath"), 200, ""},
        {"empty body of another type",
         Request("POST /submit", "Content-Type: text/plain\r\nContent-Length: 0\r\n"), 200, ""},
        {"character set",
         Request("POST /submit", "Content-Type: Application/JSON ; charset=\"UTF-8\"\r\n", body), 200, ""},
        {"literal before placeholder", Request("GET /jobs/all"), 200, ""},
        {"placeholder where the literal has other methods", Request("DELETE /jobs/all"), 200, ""},
        {"target in absolute form", Request("GET http://127.0.0.1/formats/video"), 200, ""},
        {"unknown path", Request("GET /nothing"), 404, "NOT_FOUND"},
        {"other case", Request("GET /Formats/video"), 404, "NOT_FOUND"},
        {"slash at the end", Request("GET /formats/video/"), 404, "NOT_FOUND"},
        {"escaped slash", Request("GET /formats%2Fvideo"), 404, "NOT_FOUND"},
        {"empty placeholder", Request("DELETE /jobs/"), 404, "NOT_FOUND"},
        {"unknown message", Request("POST /messages/nopath"), 404, "NOT_FOUND"},
        {"wrong method", Request("PUT /jobs/all"), 405, "METHOD_NOT_ALLOWED"},
        {"wrong method of a message", Request("GET /messages/noPath"), 405, "METHOD_NOT_ALLOWED"},
        {"options without a page", Request("OPTIONS /submit"), 405, "METHOD_NOT_ALLOWED"},
        {"no JSON", Request("POST /submit", kJson, "{"), 400, "BODY_NOT_JSON"},
        {"array", Request("POST /submit", kJson, "[1]"), 400, "BODY_NOT_AN_OBJECT"},
        {"bad query", Request("GET /formats/video?a=%FF"), 400, "BAD_QUERY"},
        {"bad path", Request("DELETE /jobs/%zz"), 400, "BAD_PATH"},
        {"no type", Request("POST /submit", "", body), 415, "UNSUPPORTED_MEDIA_TYPE"},
        {"other type", Request("POST /submit", "Content-Type: text/json\r\n", body), 415,
         "UNSUPPORTED_MEDIA_TYPE"},
        {"other character set",
         Request("POST /submit", "Content-Type: application/json; charset=latin1\r\n", body), 415,
         "UNSUPPORTED_MEDIA_TYPE"},
        {"compressed", Request("POST /submit", std::string(kJson) + "Content-Encoding: gzip\r\n", body), 415,
         "UNSUPPORTED_MEDIA_TYPE"},
        {"chunks of another type",
         Request("POST /submit", "Transfer-Encoding: chunked\r\n") + "2\r\n{}\r\n0\r\n\r\n", 415,
         "UNSUPPORTED_MEDIA_TYPE"},
        {"body too large", Request("POST /submit", kJson, std::string(33, ' ')), 413, "BODY_TOO_LARGE"},
        {"chunks too large",
         Request("POST /submit", std::string(kJson) + "Transfer-Encoding: chunked\r\n") + "21\r\n", 413,
         "BODY_TOO_LARGE"},
        {"broken chunks",
         Request("POST /submit", std::string(kJson) + "Transfer-Encoding: chunked\r\n") + "x\r\n", 400,
         "MALFORMED_REQUEST"},
        {"malformed", "GET / HTTP/1.1\r\n\r\n", 400, "MALFORMED_REQUEST"},
        {"bare line feed", "GET / HTTP/1.1\n", 400, "MALFORMED_REQUEST"},
        {"head too large", "GET /" + std::string(8192, 'a'), 431, "HEADERS_TOO_LARGE"},
        {"foreign host", "GET /formats/video HTTP/1.1\r\nHost: evil.example\r\n\r\n", 403, "FOREIGN_HOST"},
        {"foreign port", "GET /formats/video HTTP/1.1\r\nHost: localhost:1\r\n\r\n", 403, "FOREIGN_HOST"},
        {"foreign authority", Request("GET http://evil.example/formats/video"), 403, "FOREIGN_HOST"},
        {"foreign origin", Request("GET /formats/video", "Origin: http://evil.example\r\n"), 403,
         "FOREIGN_ORIGIN"},
        {"null origin", Request("GET /formats/video", "Origin: null\r\n"), 403, "FOREIGN_ORIGIN"},
        {"origin as a prefix", Request("GET /formats/video", "Origin: http://page.example.evil\r\n"), 403,
         "FOREIGN_ORIGIN"},
        {"allowed origin", Request("GET /formats/video", "Origin: http://page.example\r\n"), 200, ""},
    };
    for (const auto& row : rows) {
        const RawResponse response = Ask(port, row.request);
        EXPECT_EQ(response.status, row.status) << row.name;
        EXPECT_EQ(response.ErrorCode(), row.code) << row.name;
        EXPECT_EQ(response.Header("content-type"), "application/json") << row.name;
        EXPECT_EQ(response.status == 405, !response.Header("allow").empty()) << row.name;
    }
    EXPECT_EQ(Ask(port, Request("PUT /jobs/all")).Header("allow"), "GET, DELETE");
}

TEST_F(GatewayTest, BuildsTheRequestFromBodyQueryAndPath) {
    Start();
    const struct {
        std::string request;
        const char* message;
    } rows[] = {
        {Request("POST /submit?b=2&c=x", kJson, R"({"a":1.0,"b":"body"})"),
         R"(Submit {"a":1.0,"b":2,"c":"x"} {})"},
        {Request("DELETE /jobs/12%20%C3%A4?clientKey=query&x=1", kJson, R"({"clientKey":5,"y":null})"),
         R"(removeJob {"clientKey":"12 ä","y":null,"x":1} {})"},
        {Request("DELETE /jobs/12"), R"(removeJob {"clientKey":"12"} {})"},
        {Request("GET /formats/video?context=mine&identity=me"),
         R"(getVideo {"context":"mine","identity":"me"} {})"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Ask(port, row.request).status, 200) << row.message;
        EXPECT_EQ(sink.LastMessage(), row.message);
    }
}

TEST_F(GatewayTest, WritesEachKindOfAnswer) {
    Start();
    Parameters tree;
    tree.SetParameter("clientKey", "7");
    const struct {
        MessageAnswer answer;
        int status;
        const char* body;
    } rows[] = {
        {MessageAnswer::OfResults(tree), 200, R"({"clientKey":"7"})"},
        {MessageAnswer::OfText("[1, 2]"), 200, "[1, 2]"},
        {MessageAnswer::OfText(""), 200, ""},
        {MessageAnswer::OfError("ERROR_X", "Why"), 500, R"({"error":{"code":"ERROR_X","message":"Why"}})"},
        {MessageAnswer::OfError("BAD_REQUEST", "", tree), 400,
         R"({"error":{"code":"BAD_REQUEST","message":"","details":{"clientKey":"7"}}})"},
        {MessageAnswer::OfError("NOT_FOUND", "m"), 404, R"({"error":{"code":"NOT_FOUND","message":"m"}})"},
        {MessageAnswer::OfError("HANDLER_NOT_FOUND", "m"), 404,
         R"({"error":{"code":"HANDLER_NOT_FOUND","message":"m"}})"},
        {MessageAnswer::OfError("METHOD_NOT_ALLOWED", "m"), 405,
         R"({"error":{"code":"METHOD_NOT_ALLOWED","message":"m"}})"},
        {MessageAnswer::OfError("SERVICE_STOPPING", "m"), 503,
         R"({"error":{"code":"SERVICE_STOPPING","message":"m"}})"},
    };
    RawClient client(port);
    for (const auto& row : rows) {
        sink.RespondWith(row.answer);
        client.Send(Request("GET /formats/video"));
        const auto response = client.ReadResponse();
        ASSERT_TRUE(response.has_value()) << row.body;
        EXPECT_EQ(response->status, row.status) << row.body;
        EXPECT_EQ(response->body, row.body);
    }
}

TEST_F(GatewayTest, TellsTheClientNothingOfTheProcess) {
    sink.ThrowOnDeliver();
    Start();
    const RawResponse response = Ask(port, Request("GET /formats/video"));
    EXPECT_EQ(response.status, 500);
    EXPECT_THAT(response.body, Not(HasSubstr("secret")));
    EXPECT_EQ(response.Header("server"), "");
    EXPECT_EQ(response.Header("cache-control"), "no-store");
    EXPECT_EQ(response.Header("x-content-type-options"), "nosniff");
}

TEST_F(GatewayTest, AsksTheSenderToComeAgain) {
    Start();
    for (const auto acceptance : {MessageSink::Acceptance::QueueFull, MessageSink::Acceptance::Stopping}) {
        sink.Accept(acceptance);
        const RawResponse response = Ask(port, Request("GET /formats/video"));
        EXPECT_EQ(response.status, 503);
        EXPECT_NE(response.Header("retry-after"), "");
    }
    sink.Accept(MessageSink::Acceptance::NotFound);
    EXPECT_EQ(Ask(port, Request("GET /formats/video")).ErrorCode(), "OPERATION_NOT_FOUND");
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
    EXPECT_EQ(Ask(port, Request("GET /formats/video")).Header("access-control-allow-origin"), "");
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
    EXPECT_EQ(Ask(port, Request("GET /formats/video", "Authorization: bearer second\r\n")).status, 200);
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
    const auto head =
        client.ReadResponse(true);  // an answer to HEAD has no body, lest it be read as the next one
    EXPECT_EQ(head->status, 405);
    sink.TakeHeld()(MessageAnswer::OfText("333"));
    EXPECT_EQ(client.ReadResponse()->body, "333");
}

TEST_F(GatewayTest, TakesARequestInSingleBytes) {
    Start();
    RawClient client(port);
    const std::string chunked =
        Request("POST /submit", std::string(kJson) + "Transfer-Encoding: chunked\r\n") +
        "3;x\r\n{\"a\r\n4\r\n\":1}\r\n0\r\nTrailer: t\r\n\r\n";
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
    client.Send(Post(body) + Request("GET /formats/video"));
    EXPECT_EQ(client.ReadResponse()->status, 200);
    EXPECT_EQ(client.ReadResponse()->status, 200);
    EXPECT_EQ(sink.LastMessage(), "getVideo {} {}");
}

TEST_F(GatewayTest, AsksForABodyOnlyAfterItsChecks) {
    settings.maxBodyBytes = 8;
    Start();
    RawClient client(port);
    const std::string fields = std::string(kJson) + "Expect: 100-continue\r\n";
    client.Send(Request("POST /submit", fields + "Content-Length: 7\r\n"));
    EXPECT_EQ(client.ReadResponse()->status, 100);
    client.Send(R"({"a":1})");
    EXPECT_EQ(client.ReadResponse()->status, 200);
    client.Send(Request("POST /submit", fields + "Content-Length: 9\r\n"));
    EXPECT_EQ(client.ReadResponse()->status, 413);
    EXPECT_TRUE(client.ReadsEnd());
}

TEST_F(GatewayTest, ReadsNothingBehindARefusedRequest) {
    Start();
    const std::string hidden = Request("DELETE /jobs/7");
    for (const std::string& request :
         {std::string("GET / HTTP/1.1\r\n\r\n"), Request("POST /nothing", kJson, hidden),
          Request("POST /submit", "", hidden),
          Request("POST /submit", "Transfer-Encoding: chunked\r\n") + "x\r\n",
          Request("GET /formats/video", "Connection: close\r\n")}) {
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
    client.Send("GET /formats/video HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_EQ(client.ReadResponse()->Header("connection"), "keep-alive");
    client.Send("GET /formats/video HTTP/1.0\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(client.ReadResponse()->Header("connection"), "close");
    EXPECT_TRUE(client.ReadsEnd());
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
