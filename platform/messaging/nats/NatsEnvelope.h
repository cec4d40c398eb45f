#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/MessageContext.h"

namespace PlatformAbstraction::Messaging {

// What a message holds on the bus: JSON documents without white space, one a line, so that each part is read
// and written without a copy of the others. The first line says what the rest is.
//
//   a request    {"v":1,"kind":"request","parent":"<32 hexadecimal digits>"}   "parent" only where there is
//   one
//                <context tree>
//                <body>
//   its answers  {"v":1,"kind":"results"}
//                <tree>
//                {"v":1,"kind":"text"}
//                <the text as it is, which may hold anything, to the end>
//                {"v":1,"kind":"error","code":"...","message":"..."}
//                <tree of details>
//
// The kind "notification" has the shape of a request: it is answered as soon as it is taken or refused, with
// empty results or an error. "broadcast" has it too and gets no answer. Trees arrive as they were, but bytes
// of texts that are no UTF-8 arrive as U+FFFD.

struct NatsRequest {
    enum class Kind { Request, Notification, Broadcast };

    Kind kind = Kind::Request;
    MessageId parent;
    CoreServices::Parameters context;
    CoreServices::Parameters body;
};

/// More than an envelope adds to the body of a message.
inline constexpr std::size_t kNatsEnvelopeRoom = std::size_t{64} * 1024;

std::string WriteNatsRequest(NatsRequest::Kind kind, MessageId parent,
                             const CoreServices::Parameters& context, const CoreServices::Parameters& body);
/// Throws `std::runtime_error` that says what was wrong.
NatsRequest ReadNatsRequest(std::string_view data);

std::string WriteNatsAnswer(const MessageAnswer& answer);
/// What cannot be read is an answer too, with the error that says so.
MessageAnswer ReadNatsAnswer(std::string_view data);

}  // namespace PlatformAbstraction::Messaging
