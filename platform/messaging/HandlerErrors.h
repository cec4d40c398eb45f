#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/log/PlatformLog.h"
#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

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

/// Says of an exception who is to blame for it, and for which key of the request.
class BlameNote {
public:
    BlameNote(Blame blame, std::string_view field) : m_blame(blame), m_field(field) {}
    BlameNote(const BlameNote&) = default;
    BlameNote& operator=(const BlameNote&) = default;
    virtual ~BlameNote() = default;

    Blame GetBlame() const { return m_blame; }
    const std::string& GetField() const { return m_field; }

private:
    Blame m_blame;
    std::string m_field;
};

/// An exception of the type `Error`, with its text, and with such a note.
template <typename Error>
class Blamed final : public Error, public BlameNote {
public:
    Blamed(Blame blame, const std::string& message, std::string_view field = {})
        : Error(message), BlameNote(blame, field) {}
};

/// The same for those who throw a tree.
class BlamedTree final : public CoreServices::Parameters, public BlameNote {
public:
    BlamedTree(Blame blame, CoreServices::Parameters tree)
        : CoreServices::Parameters(std::move(tree)), BlameNote(blame, {}) {}
};

}  // namespace PlatformAbstraction::Messaging
