#include "platform/rest/AnswerRoad.h"

#include <exception>
#include <string>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/rest/IoLoop.h"

namespace PlatformAbstraction::Rest {

namespace {

using Messaging::MessageAnswer;

HttpReply ReplyOfAnswer(MessageAnswer answer, std::string_view allowedMethods) {
    try {
        return ReplyOf(std::move(answer), allowedMethods);
    } catch (const std::exception& error) {
        Log::Error(std::string("An answer could not be written: ") + error.what());
        return ReplyOf(GatewayFailure::InternalError);
    }
}

}  // namespace

void AnswerRoad::Send(HttpReply reply, RequestMemory::Share share) const {
    if (const auto held = loop.lock()) {
        held->HandOver({connection, request, std::move(reply), std::move(share)});
    }
}

ReplyReceiver::ReplyReceiver(AnswerRoad road, RequestMemory::Share share, const Route& route)
    : m_road(std::move(road)),
      m_allowedMethods(route.pathMethods),
      m_answers(*route.answers),
      m_share(std::move(share)) {}

void ReplyReceiver::Prepare(MessageAnswer answer) {
    if (const auto held = m_road.loop.lock()) {
        m_reply = ReplyOfAnswer(std::move(answer), m_allowedMethods);
        m_answers.Note(m_reply.body.size());
    }
}

// By now the tree is gone.
void ReplyReceiver::Send() {
    m_share.BecomeAnswer(m_reply.body.size());
    m_road.Send(std::move(m_reply), std::move(m_share));
}

}  // namespace PlatformAbstraction::Rest
