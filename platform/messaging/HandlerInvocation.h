#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/ServiceInfo.h"

namespace PlatformAbstraction::Messaging {

// What every transport does with a message that reached its service. Any thread may call.

/// Answers one message, given its body and context.
using HandlerFunction = std::function<MessageAnswer(const CoreServices::Parameters& request,
                                                    std::shared_ptr<MessageContext> context)>;

/// The function that answers the message `operation` of the service, or an empty function when no handler is
/// registered under that name. It never throws: what leaves the handler becomes an error answer, and a
/// handler that neither answers nor throws is answered for.
HandlerFunction FindHandlerFunction(const ServiceInfo& service, const std::string& operation);

/// The error answer of the exception in flight, or a general one where memory does not suffice for it. To be
/// called inside a catch block.
MessageAnswer AnswerOfCurrentException() noexcept;

}  // namespace PlatformAbstraction::Messaging
