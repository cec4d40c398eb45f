#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/log/PlatformLog.h"

namespace PlatformAbstraction::Messaging {

/// What the errors below have in common. Their texts may hold what a client sent: a NUL, at which `what`
/// would end, stands there as "\x00".
class HandlerError : public std::logic_error {
public:
    explicit HandlerError(std::string_view message) : std::logic_error(Log::WithoutNul(message)) {}
};

/// Thrown by a handler to answer with an error code of its own.
class MessageHandlerError : public HandlerError {
public:
    MessageHandlerError(std::string errorCode, std::string_view message)
        : HandlerError(message), m_errorCode(std::move(errorCode)) {}

    std::string GetErrorCode() const { return m_errorCode; }

private:
    std::string m_errorCode;
};

// Failures with a meaning of their own; `AnswerOfCurrentException` gives each its code on the wire.

class BadRequestHandlerError : public HandlerError {
public:
    using HandlerError::HandlerError;
};

class HandlerNotFoundError : public HandlerError {
public:
    using HandlerError::HandlerError;
};

class MethodNotAllowedHandlerError : public HandlerError {
public:
    using HandlerError::HandlerError;
};

class ResourceNotFoundHandlerError : public HandlerError {
public:
    using HandlerError::HandlerError;
};

}  // namespace PlatformAbstraction::Messaging
