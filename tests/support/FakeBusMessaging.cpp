#include "tests/support/FakeBusMessaging.h"

#include <utility>

namespace TestSupport {

using PlatformAbstraction::MutexLock;
using PlatformAbstraction::Messaging::MessageExchange;
using PlatformAbstraction::Messaging::MessageResultsFuture;

class FakeBusMessaging::FakeFuture final : public MessageResultsFuture {
public:
    FakeFuture(std::shared_ptr<MessageExchange> exchange, ScriptedAnswer scripted,
               std::shared_ptr<Memory> memory)
        : MessageResultsFuture(exchange),
          m_pExchange(std::move(exchange)),
          m_scripted(std::move(scripted)),
          m_pMemory(std::move(memory)) {}

    bool WaitForDone(std::int64_t microseconds) override {
        Memory& memory = *m_pMemory;
        {
            const MutexLock lock(memory.mutex);
            memory.waits.push_back(microseconds);
        }
        if (m_scripted.onWait) {
            m_scripted.onWait(*m_pExchange);
            return false;
        }
        return MessageResultsFuture::WaitForDone(microseconds);
    }

private:
    const std::shared_ptr<MessageExchange> m_pExchange;
    const ScriptedAnswer m_scripted;
    const std::shared_ptr<Memory> m_pMemory;
};

void FakeBusMessaging::On(const std::string& operation, ScriptedAnswer answer) {
    Memory& memory = *m_pMemory;
    const MutexLock lock(memory.mutex);
    memory.script[operation].push_back(std::move(answer));
}

void FakeBusMessaging::Restart(const std::string& operation, ScriptedAnswer answer) {
    Memory& memory = *m_pMemory;
    const MutexLock lock(memory.mutex);
    memory.sent.clear();
    memory.waits.clear();
    memory.script = {{operation, {std::move(answer)}}};
}

std::vector<SentMessage> FakeBusMessaging::Sent() const {
    Memory& memory = *m_pMemory;
    const MutexLock lock(memory.mutex);
    return memory.sent;
}

std::vector<std::int64_t> FakeBusMessaging::Waits() const {
    Memory& memory = *m_pMemory;
    const MutexLock lock(memory.mutex);
    return memory.waits;
}

ScriptedAnswer FakeBusMessaging::TakeAnswer(SentMessage message) {
    Memory& memory = *m_pMemory;
    const MutexLock lock(memory.mutex);
    const auto found = memory.script.find(message.dispatch.operation);
    memory.sent.push_back(std::move(message));
    if (found == memory.script.end()) {
        return ScriptedAnswer::Error("OPERATION_NOT_FOUND", "No answer was scripted");
    }
    ScriptedAnswer scripted = found->second.front();
    if (found->second.size() > 1) {
        found->second.pop_front();
    }
    return scripted;
}

FakeBusMessaging::Future FakeBusMessaging::Send(SentMessage message) {
    const ScriptedAnswer scripted = TakeAnswer(message);
    auto exchange = std::make_shared<MessageExchange>();
    scripted.onSend(*exchange, message.dispatch);
    return std::make_shared<FakeFuture>(std::move(exchange), scripted, m_pMemory);
}

}  // namespace TestSupport
