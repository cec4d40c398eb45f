#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "RegParamsBuilder.h"
#include "ServiceInfo.h"

namespace TestSupport {

inline PlatformAbstraction::RegistrationParams Registration(
    const std::string& name, const std::string& path = "",
    PlatformAbstraction::HTTPMethod method = PlatformAbstraction::HTTPMethod::Get) {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(name)
        .SetRESTPath(path)
        .SetRESTMethod(method)
        .GetResult();
}

using ContextPointer = std::shared_ptr<PlatformAbstraction::Messaging::MessageContext>;

/// Answers through the response by a function.
class FunctionHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    using Function = std::function<void(PlatformAbstraction::Messaging::ServiceMessageResponse&)>;
    FunctionHandler(PlatformAbstraction::RegistrationParams registration, Function function)
        : m_registration(std::move(registration)), m_function(std::move(function)) {}

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override { return m_registration; }
    bool HandleMessage(ContextPointer /*context*/, const CoreServices::Parameters& /*request*/,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override {
        m_function(response);
        return true;
    }

private:
    const PlatformAbstraction::RegistrationParams m_registration;
    const Function m_function;
};

/// Answers by what a function returns.
class FunctionHandlerV2 final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    using Function =
        std::function<CoreServices::Parameters(const CoreServices::Parameters&, const ContextPointer&)>;
    FunctionHandlerV2(PlatformAbstraction::RegistrationParams registration, Function function)
        : m_registration(std::move(registration)), m_function(std::move(function)) {}

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override { return m_registration; }
    CoreServices::Parameters HandleMessageV2(const CoreServices::Parameters& request,
                                             ContextPointer context) override {
        return m_function(request, context);
    }

private:
    const PlatformAbstraction::RegistrationParams m_registration;
    const Function m_function;
};

/// A submission that answers with what it was registered with.
class EchoingSubmission final : public Weftline::SubmitMessageHandler {
public:
    explicit EchoingSubmission(PlatformAbstraction::RegistrationParams registration)
        : m_registration(std::move(registration)) {}

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override { return m_registration; }
    CoreServices::Parameters SubmitJob(const std::string& jobKind, const std::string& evalTaskKind,
                                       const std::string& name, bool failJobDefault,
                                       const CoreServices::Parameters& request,
                                       ContextPointer /*context*/) override {
        CoreServices::Parameters answer = request;
        answer.SetParameter("told", jobKind + "|" + evalTaskKind + "|" + name);
        answer.SetParameter("failJobDefault", failJobDefault);
        return answer;
    }

private:
    const PlatformAbstraction::RegistrationParams m_registration;
};

/// A set whose messages answer with their own name.
class NamingSet final : public PlatformAbstraction::Messaging::ServiceMessageHandlerSet {
public:
    explicit NamingSet(std::vector<PlatformAbstraction::RegistrationParams> registrations)
        : m_registrations(std::move(registrations)) {}

    std::string GetSetName() const override { return "naming"; }
    std::vector<PlatformAbstraction::RegistrationParams> GetRegistrationParamsOfSet() const override {
        return m_registrations;
    }
    CoreServices::Parameters HandleMessageOfSet(const std::string& name,
                                                const CoreServices::Parameters& /*request*/,
                                                ContextPointer /*context*/) override {
        CoreServices::Parameters answer;
        answer.SetParameter("name", name);
        return answer;
    }

private:
    const std::vector<PlatformAbstraction::RegistrationParams> m_registrations;
};

}  // namespace TestSupport
