#pragma once

// Private to the gateway.

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/messaging/MessageSink.h"
#include "platform/rest/HttpReply.h"
#include "platform/rest/RequestMemory.h"
#include "platform/rest/RouteTable.h"

namespace PlatformAbstraction::Rest {

class Connection;
class IoLoop;

/// How the reply to one request finds its connection, from any thread. Connection and gateway may be gone by
/// then. While somebody holds the loop, the loop holds the routes.
struct AnswerRoad {
    /// `share` is the reply's.
    void Send(HttpReply reply, RequestMemory::Share share) const;

    std::weak_ptr<IoLoop> loop;
    std::weak_ptr<Connection> connection;
    std::uint64_t request = 0;  ///< of the connection's requests
};

/// What a message takes along: its answer becomes a reply. It holds the share of the message's tree, which is
/// given back once there is the reply.
class ReplyReceiver final : public Messaging::AnswerReceiver {
public:
    /// What the route names lives as long as the loop.
    ReplyReceiver(AnswerRoad road, RequestMemory::Share share, const Route& route);

    void Prepare(Messaging::MessageAnswer answer) override;
    void Send() override;

private:
    const AnswerRoad m_road;
    const std::string_view m_allowedMethods;
    AnswerSize& m_answers;
    RequestMemory::Share m_share;
    HttpReply m_reply;
};

}  // namespace PlatformAbstraction::Rest
