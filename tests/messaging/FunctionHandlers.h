#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/messaging/ServiceInfo.h"

namespace TestSupport {

using PlatformAbstraction::RegistrationParams;
using ContextPointer = std::shared_ptr<PlatformAbstraction::Messaging::MessageContext>;

inline RegistrationParams Registration(
    const std::string& name, const std::string& path = "",
    PlatformAbstraction::HTTPMethod method = PlatformAbstraction::HTTPMethod::Get) {
    return {name, "", {}, path, method};
}

/// A handler of any of the kinds, which says the registration that it is given.
template <typename Handler>
class Registered : public Handler {
public:
    explicit Registered(RegistrationParams registration) : m_registration(std::move(registration)) {}
    RegistrationParams GetRegistrationParams() const override { return m_registration; }

private:
    const RegistrationParams m_registration;
};

/// Answers through the response by a function.
class FunctionHandler final : public Registered<PlatformAbstraction::Messaging::ServiceMessageHandler> {
public:
    using Function = std::function<void(PlatformAbstraction::Messaging::ServiceMessageResponse&)>;
    FunctionHandler(RegistrationParams registration, Function function)
        : Registered(std::move(registration)), m_function(std::move(function)) {}

    bool HandleMessage(ContextPointer /*context*/, const CoreServices::Parameters& /*request*/,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override {
        m_function(response);
        return true;
    }

private:
    const Function m_function;
};

/// Answers by what a function returns.
class FunctionHandlerV2 final : public Registered<PlatformAbstraction::Messaging::ServiceMessageHandlerV2> {
public:
    using Function =
        std::function<CoreServices::Parameters(const CoreServices::Parameters&, const ContextPointer&)>;
    FunctionHandlerV2(RegistrationParams registration, Function function)
        : Registered(std::move(registration)), m_function(std::move(function)) {}

    CoreServices::Parameters HandleMessageV2(const CoreServices::Parameters& request,
                                             ContextPointer context) override {
        return m_function(request, context);
    }

private:
    const Function m_function;
};

}  // namespace TestSupport
