#pragma once

#include <cstdint>
#include <string>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction {

/// Where a long piece of work tells how it goes. The work does not know who listens.
///
/// Every implementation promises that the threads of one piece of work may call at once. The notifiers of
/// `MakeNotifier` also promise that no call throws.
class IGenericNotifier {
public:
    virtual ~IGenericNotifier() = default;

    /// Progress whose extent is not known: told as `SendProgress(text, kUnknownPercent)`.
    virtual void SendProgress(const std::string& text);
    virtual void SendProgress(const std::string& text, std::int32_t percent) = 0;
    virtual void SendStart(const std::string& text) = 0;
    virtual void SendResourceLockFailed(const std::string& text) = 0;
    virtual void SendBusy(const std::string& text) = 0;
    virtual void SendCanceled(const std::string& text) = 0;
    virtual void SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) = 0;
    virtual void SendSucceeded(const std::string& text) = 0;
    virtual void SendFailed(const std::string& text) = 0;

    static constexpr std::int32_t kUnknownPercent = -1;
};

}  // namespace PlatformAbstraction
