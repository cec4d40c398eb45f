#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace PlatformAbstraction::Messaging {

/// Thrown by a handler to answer with an error code of its own.
class MessageHandlerError : public std::logic_error {
public:
    MessageHandlerError(std::string errorCode, const std::string& message)
        : std::logic_error(message), m_errorCode(std::move(errorCode)) {}

    std::string GetErrorCode() const { return m_errorCode; }

private:
    std::string m_errorCode;
};

// Failures with a meaning of their own; `AnswerOfCurrentException` gives each its code on the wire.

class BadRequestHandlerError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

class HandlerNotFoundError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

class MethodNotAllowedHandlerError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

class ResourceNotFoundHandlerError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

}  // namespace PlatformAbstraction::Messaging
