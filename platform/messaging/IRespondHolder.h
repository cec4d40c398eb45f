#pragma once

namespace PlatformAbstraction {

/// Whoever keeps an answer for later. The platform offers it; the scheduler does not implement it.
class IRespondHolder {
public:
    virtual void Respond() = 0;
    virtual ~IRespondHolder() = default;
};

}  // namespace PlatformAbstraction
