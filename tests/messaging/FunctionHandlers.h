#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/messaging/ServiceInfo.h"

namespace TestSupport {

namespace Messaging = PlatformAbstraction::Messaging;

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using ContextPointer = std::shared_ptr<Messaging::MessageContext>;

inline RegistrationParams Registration(
    const std::string& name, const std::string& path = "",
    PlatformAbstraction::HTTPMethod method = PlatformAbstraction::HTTPMethod::Get) {
    return {name, "", {}, path, method};
}

/// A handler of any of the kinds, which says the registration that it is given and answers by a function.
template <typename Handler, typename Signature>
class ByFunction : public Handler {
public:
    using Function = std::function<Signature>;
    explicit ByFunction(RegistrationParams registration, Function function = nullptr)
        : m_registration(std::move(registration)), m_function(std::move(function)) {}
    RegistrationParams GetRegistrationParams() const override { return m_registration; }

private:
    const RegistrationParams m_registration;

protected:
    const Function m_function;
};

struct FunctionHandler final
    : ByFunction<Messaging::ServiceMessageHandler, void(Messaging::ServiceMessageResponse&)> {
    using ByFunction::ByFunction;
    bool HandleMessage(ContextPointer, const Parameters&,
                       Messaging::ServiceMessageResponse& response) override {
        return m_function(response), true;
    }
};

struct FunctionHandlerV2 final
    : ByFunction<Messaging::ServiceMessageHandlerV2, Parameters(const Parameters&, const ContextPointer&)> {
    using ByFunction::ByFunction;
    Parameters HandleMessageV2(const Parameters& request, ContextPointer context) override {
        return m_function(request, context);
    }
};

/// "OK " and the tree, "TEXT " and the text, or "<code>: <message>" and the details, where there are any.
inline std::string LineOf(const Messaging::MessageAnswer& answer) {
    if (answer.kind == Messaging::MessageAnswer::Kind::Results) {
        return "OK " + answer.results.toJSON();
    }
    const std::string details = answer.details.IsEmpty() ? "" : " " + answer.details.toJSON();
    return answer.kind == Messaging::MessageAnswer::Kind::Text
               ? "TEXT " + answer.text
               : answer.code + ": " + answer.message + details;
}

}  // namespace TestSupport
