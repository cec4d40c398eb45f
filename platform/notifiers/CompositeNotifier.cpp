#include "platform/notifiers/CompositeNotifier.h"

#include <stdexcept>
#include <utility>

#include "platform/notifiers/NotifierCall.h"

namespace PlatformAbstraction {

CompositeNotifier::~CompositeNotifier() {
    // A vector's own order of destruction is not promised.
    for (auto& child : m_children) {
        child.reset();
    }
}

void CompositeNotifier::Add(std::unique_ptr<IGenericNotifier> child) {
    if (!child) {
        throw std::invalid_argument("A composite notifier takes no empty child");
    }
    m_children.push_back(std::move(child));
}

template <class Call>
void CompositeNotifier::TellAll(Call call) const noexcept {
    for (const auto& child : m_children) {
        CallNotifier([&] { call(*child); });
    }
}

void CompositeNotifier::SendProgress(const std::string& text, std::int32_t percent) {
    TellAll([&](IGenericNotifier& child) { child.SendProgress(text, percent); });
}

void CompositeNotifier::SendStart(const std::string& text) {
    TellAll([&](IGenericNotifier& child) { child.SendStart(text); });
}

void CompositeNotifier::SendResourceLockFailed(const std::string& text) {
    TellAll([&](IGenericNotifier& child) { child.SendResourceLockFailed(text); });
}

void CompositeNotifier::SendBusy(const std::string& text) {
    TellAll([&](IGenericNotifier& child) { child.SendBusy(text); });
}

void CompositeNotifier::SendCanceled(const std::string& text) {
    TellAll([&](IGenericNotifier& child) { child.SendCanceled(text); });
}

void CompositeNotifier::SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) {
    TellAll([&](IGenericNotifier& child) { child.SendSucceeded(text, parameters); });
}

void CompositeNotifier::SendSucceeded(const std::string& text) {
    TellAll([&](IGenericNotifier& child) { child.SendSucceeded(text); });
}

void CompositeNotifier::SendFailed(const std::string& text) {
    TellAll([&](IGenericNotifier& child) { child.SendFailed(text); });
}

}  // namespace PlatformAbstraction
