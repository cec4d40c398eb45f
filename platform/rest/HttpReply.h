#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/messaging/MessageAnswer.h"
#include "platform/rest/GatewayFailure.h"

namespace PlatformAbstraction::Rest {

/// One answer, before it goes on the wire. A value, made on any thread.
struct HttpReply {
    unsigned status = 200;
    std::string body;    ///< JSON, or empty
    std::string fields;  ///< header lines of this answer alone, each with its line end
    bool close = false;  ///< nothing more is read from this connection
};

HttpReply ReplyOf(Messaging::MessageAnswer answer, std::string_view allowedMethods);
/// `more` is put behind the failure's own text.
HttpReply ReplyOf(GatewayFailure failure, std::string_view more = {});
HttpReply MethodNotAllowedReply(std::string_view allowedMethods);
/// An answer without a body, to OPTIONS.
HttpReply NoContentReply(std::string fields);

/// How the connection goes on after the answer.
enum class Persistence { KeepAlive, KeepAliveOfHttp10, Close };

/// Writes the head of `reply` into `out`, in place of what it held.
void WriteReplyHead(const HttpReply& reply, Persistence persistence, std::string& out);

}  // namespace PlatformAbstraction::Rest
