#include "platform/notifiers/SafeNotifier.h"

#include <stdexcept>
#include <utility>

#include "platform/notifiers/NotifierCall.h"

namespace PlatformAbstraction {

SafeNotifier::SafeNotifier(std::unique_ptr<IGenericNotifier> inner) : m_pInner(std::move(inner)) {
    if (!m_pInner) {
        throw std::invalid_argument("A safe notifier needs a notifier to keep safe");
    }
}

void SafeNotifier::SendProgress(const std::string& text, std::int32_t percent) {
    CallNotifier([&] { m_pInner->SendProgress(text, percent); });
}

void SafeNotifier::SendStart(const std::string& text) {
    CallNotifier([&] { m_pInner->SendStart(text); });
}

void SafeNotifier::SendResourceLockFailed(const std::string& text) {
    CallNotifier([&] { m_pInner->SendResourceLockFailed(text); });
}

void SafeNotifier::SendBusy(const std::string& text) {
    CallNotifier([&] { m_pInner->SendBusy(text); });
}

void SafeNotifier::SendCanceled(const std::string& text) {
    CallNotifier([&] { m_pInner->SendCanceled(text); });
}

void SafeNotifier::SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) {
    CallNotifier([&] { m_pInner->SendSucceeded(text, parameters); });
}

void SafeNotifier::SendSucceeded(const std::string& text) {
    CallNotifier([&] { m_pInner->SendSucceeded(text); });
}

void SafeNotifier::SendFailed(const std::string& text) {
    CallNotifier([&] { m_pInner->SendFailed(text); });
}

}  // namespace PlatformAbstraction
