#include "tests/rest/FakeSink.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace PlatformAbstraction::Rest {

void FakeSink::Deliver(std::string_view operation, CoreServices::Parameters request,
                       CoreServices::Parameters contextParameters, AnswerCallback onAnswer) {
    const std::lock_guard lock(m_mutex);
    if (m_throws) {
        throw std::runtime_error("secret of the process");
    }
    m_lastMessage = std::string(operation) + " " + request.toJSON() + " " + contextParameters.toJSON();
    if (m_holds) {
        m_held.push_back(std::move(onAnswer));
        m_arrived.notify_all();
    } else {
        onAnswer(m_answer);
    }
}

void FakeSink::RespondWith(Messaging::MessageAnswer answer) {
    const std::lock_guard lock(m_mutex);
    m_answer = std::move(answer);
}

FakeSink::AnswerCallback FakeSink::TakeHeld() {
    std::unique_lock lock(m_mutex);
    if (!m_arrived.wait_for(lock, std::chrono::seconds(20), [this] { return !m_held.empty(); })) {
        throw std::runtime_error("No message came.");
    }
    AnswerCallback callback = std::move(m_held.front());
    m_held.pop_front();
    return callback;
}

std::string FakeSink::LastMessage() {
    const std::lock_guard lock(m_mutex);
    return m_lastMessage;
}

}  // namespace PlatformAbstraction::Rest
