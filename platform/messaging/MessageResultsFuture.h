#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Messaging {

class MessageExchange;

/// What a sender holds of a message under way. Shared; outlives sender and receiver. Any thread may ask.
class MessageResultsFuture {
public:
    explicit MessageResultsFuture(std::shared_ptr<MessageExchange> exchange);
    MessageResultsFuture(const MessageResultsFuture&) = delete;
    MessageResultsFuture& operator=(const MessageResultsFuture&) = delete;
    virtual ~MessageResultsFuture();

    /// Waits for the end of the exchange, at most that long. True if it has ended. On a thread of a handler
    /// the wait is a `BlockingRegion`: another thread takes its place.
    virtual bool WaitForDone(std::int64_t microseconds);
    /// The transport gave the exchange up for want of an answer.
    virtual bool HasTimedOut() const;
    /// The exchange ended with an error, or was given up. An exchange under way has none.
    virtual bool HasError() const;
    /// Code and message of the error; false, and both texts unchanged, if there are none.
    virtual bool GetErrorDetails(std::string& code, std::string& message) const;
    /// False, and the tree unchanged, if there are no results. A ready JSON text is read into a tree; one
    /// that is no JSON gives false.
    virtual bool GetResults(CoreServices::Parameters& results) const;

private:
    std::shared_ptr<MessageExchange> m_pExchange;
};

/// The other end of a `MessageResultsFuture`: whoever carries the message ends the exchange here, once; a
/// later end is dropped. Any thread may call.
class MessageExchange {
public:
    MessageExchange();
    ~MessageExchange();
    MessageExchange(const MessageExchange&) = delete;
    MessageExchange& operator=(const MessageExchange&) = delete;

    /// False when the exchange had ended already.
    bool End(MessageAnswer answer);
    bool EndWithErrorWithoutDetails();
    bool TimeOut();

private:
    friend class MessageResultsFuture;
    struct State;
    std::unique_ptr<State> m_pState;
};

}  // namespace PlatformAbstraction::Messaging
