#pragma once

#include <string>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Messaging {

// The platform's own error codes.
inline constexpr char kGenericServiceError[] = "GENERIC_SERVICE_ERROR";
inline constexpr char kBadRequest[] = "BAD_REQUEST";
inline constexpr char kNotFound[] = "NOT_FOUND";
inline constexpr char kMethodNotAllowed[] = "METHOD_NOT_ALLOWED";
inline constexpr char kHandlerNotFound[] = "HANDLER_NOT_FOUND";
inline constexpr char kServiceNotFound[] = "SERVICE_NOT_FOUND";
inline constexpr char kOperationNotFound[] = "OPERATION_NOT_FOUND";
inline constexpr char kQueueFull[] = "QUEUE_FULL";
inline constexpr char kServiceStopping[] = "SERVICE_STOPPING";
inline constexpr char kBusAway[] = "BUS_AWAY";

/// Whose fault an error is, for those who tell it to people: the code says what went wrong and stays the
/// same.
enum class Blame {
    Service,        ///< ours, or nobody knows
    Client,         ///< the request lacks something, or holds what cannot be meant
    Absent,         ///< what it names is not there
    Conflict,       ///< what it names is not in a state for that
    Unprocessable,  ///< it is well-formed, and what it refers to does not exist
    Unavailable,    ///< a service that is needed is away; later it may go well
};

/// How one message ended, whatever brought it: a result tree, a ready JSON text, or an error. A value, moved
/// from the handler's thread to whoever waits.
struct MessageAnswer {
    enum class Kind { Results, Text, Error };

    static MessageAnswer OfResults(CoreServices::Parameters results);
    static MessageAnswer OfText(std::string text);
    static MessageAnswer OfError(std::string code, std::string message,
                                 CoreServices::Parameters details = CoreServices::Parameters());

    Kind kind = Kind::Results;
    CoreServices::Parameters results;  ///< Kind::Results
    std::string text;                  ///< Kind::Text; may be empty
    std::string code;                  ///< Kind::Error
    std::string message;               ///< Kind::Error
    CoreServices::Parameters details;  ///< Kind::Error; empty where there are none
    Blame blame = Blame::Service;      ///< Kind::Error; known to the instance that answers, not over the bus
    std::string field;                 ///< Kind::Error; the key of the request that is to blame, or empty
};

}  // namespace PlatformAbstraction::Messaging
