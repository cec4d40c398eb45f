#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "base/concurrency/Mutex.h"
#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Messaging {

/// The address and body of one outgoing message. A value.
struct ServiceMessageDispatch {
    ServiceMessageDispatch(std::string toService, std::string inRealm, std::int32_t ofVersion,
                           std::string forOperation)
        : service(std::move(toService)),
          realm(std::move(inRealm)),
          version(ofVersion),
          operation(std::move(forOperation)) {}

    std::string service;
    std::string realm;
    std::int32_t version;
    std::string operation;
    CoreServices::Parameters parameters;  ///< the request body, set after construction
    std::int32_t reserved = 0;
    std::map<std::string, CoreServices::Parameters> attachments;
};

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
    const std::shared_ptr<MessageExchange> m_pExchange;
};

/// The other end of a `MessageResultsFuture`: whoever carries the message ends the exchange here, once; a
/// later end is dropped. Any thread may call.
class MessageExchange {
public:
    MessageExchange() = default;
    MessageExchange(const MessageExchange&) = delete;
    MessageExchange& operator=(const MessageExchange&) = delete;

    /// False when the exchange had ended already.
    bool End(MessageAnswer answer);
    bool EndWithErrorWithoutDetails();
    bool TimeOut();

private:
    friend class MessageResultsFuture;
    enum class Phase { UnderWay, Answered, ErrorWithoutDetails, TimedOut };

    bool Finish(Phase how, MessageAnswer with);

    Mutex m_mutex;
    Condition m_ended;
    Phase m_phase QUILLON_GUARDED_BY(m_mutex) = Phase::UnderWay;  // does not change once it has
    MessageAnswer m_answer QUILLON_GUARDED_BY(m_mutex);
};

/// How a service talks to others. Shared; any thread may call. None of the operations waits or throws for a
/// receiver that is not there: the future ends at once with the error that says so.
class BusMessaging {
public:
    /// The future ends with the receiver's answer.
    virtual std::shared_ptr<MessageResultsFuture> SendRequest(const ServiceMessageDispatch& dispatch) = 0;
    /// No answer comes: the future ends once the message is handed over, or with an error.
    virtual std::shared_ptr<MessageResultsFuture> SendNotification(
        const ServiceMessageDispatch& dispatch) = 0;
    /// To every instance of the service; none is no error.
    virtual std::shared_ptr<MessageResultsFuture> BroadcastNotification(
        const ServiceMessageDispatch& dispatch) = 0;
    virtual ~BusMessaging() = default;
};

}  // namespace PlatformAbstraction::Messaging
