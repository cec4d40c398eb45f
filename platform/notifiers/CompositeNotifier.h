#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/notifiers/IGenericNotifier.h"

namespace PlatformAbstraction {

/// Passes each call on to all of its children, in the order in which they were added. A child that throws is
/// reported in the log and keeps nobody else from being told; no call throws. Owns its children. Any thread
/// may call the `Send` operations once the last child is there.
class CompositeNotifier final : public IGenericNotifier {
public:
    CompositeNotifier() = default;
    CompositeNotifier(const CompositeNotifier&) = delete;
    CompositeNotifier& operator=(const CompositeNotifier&) = delete;
    /// Destroys the children in the order in which they were added.
    ~CompositeNotifier() override;

    /// Throws `std::invalid_argument` for an empty pointer.
    void Add(std::unique_ptr<IGenericNotifier> child);

    using IGenericNotifier::SendProgress;
    void SendProgress(const std::string& text, std::int32_t percent) override;
    void SendStart(const std::string& text) override;
    void SendResourceLockFailed(const std::string& text) override;
    void SendBusy(const std::string& text) override;
    void SendCanceled(const std::string& text) override;
    void SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) override;
    void SendSucceeded(const std::string& text) override;
    void SendFailed(const std::string& text) override;

private:
    template <class Call>
    void TellAll(Call call) const noexcept;

    std::vector<std::unique_ptr<IGenericNotifier>> m_children;
};

}  // namespace PlatformAbstraction
