#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/messaging/ServiceInfoApi.h"
#include "platform/messaging/TaskDesc.h"

namespace PlatformAbstraction::Messaging {

/// The one implementation of `ServiceInfoApi`, made by `ConstructServiceInfo`. It owns the handlers.
class ServiceInfo final : public ServiceInfoApi {
public:
    bool HasMessageHandlers() const override;
    void SetEventStore(std::shared_ptr<CommonServices::EventStore> eventStore) override;
    std::shared_ptr<CommonServices::EventStore> GetEventStore() const override;
    void AddMessageHandler(std::shared_ptr<ServiceMessageHandler> handler) override;
    void AddMessageHandlerV2(std::shared_ptr<ServiceMessageHandlerV2> handler) override;
    void AddSubmitMessageHandler(std::shared_ptr<Weftline::SubmitMessageHandler> handler,
                                 SubmitOpJobInfo info) override;
    void AddMessageHandlerSet(std::shared_ptr<ServiceMessageHandlerSet> set) override;
    bool IsRegisteredTask(const std::string& name) const override;
    bool IsRegisteredMessageHandler(const std::string& name) const override;
    bool IsRegisteredMessageHandlerV2(const std::string& name) const override;
    bool IsRegisteredSubmitMessageHandler(const std::string& name) const override;
    bool IsRegisteredMessageHandlerSet(const std::string& name) const override;

    const std::map<std::string, std::shared_ptr<ServiceMessageHandler>>& GetMessageHandlers() const;
    const std::map<std::string, std::shared_ptr<ServiceMessageHandlerV2>>& GetMessageHandlersV2() const;
    const std::map<std::string, std::shared_ptr<Weftline::SubmitMessageHandler>>& GetSubmitMessageHandlers()
        const;
    const std::map<std::string, std::shared_ptr<ServiceMessageHandlerSet>>& GetMessageSetHandlers() const;
    const std::map<std::string, SubmitOpJobInfo>& GetSubmitOpJobs() const;
    const std::map<std::string, Weftline::TaskDesc>& GetTaskDescMap() const;

    /// The registrations of all handlers, as they were read when the handlers were added, in that order.
    const std::vector<RegistrationParams>& GetRegistrations() const;

    /// Lets the handlers go; the registrations stay. For the main thread, once the bus has stopped: handlers
    /// hold the `BusConnection`, which holds this, so that without it neither would ever be freed.
    void ReleaseHandlers();

private:
    /// Keeps the registration and gives its name. Throws where the name or the REST path is taken.
    std::string Register(RegistrationParams registration);

    std::shared_ptr<CommonServices::EventStore> m_pEventStore;
    std::map<std::string, std::shared_ptr<ServiceMessageHandler>> m_messageHandlers;
    std::map<std::string, std::shared_ptr<ServiceMessageHandlerV2>> m_messageHandlersV2;
    std::map<std::string, std::shared_ptr<Weftline::SubmitMessageHandler>> m_submitMessageHandlers;
    std::map<std::string, std::shared_ptr<ServiceMessageHandlerSet>> m_messageSetHandlers;
    std::map<std::string, std::string> m_labels;  // the platform's own; the service never reads it
    std::map<std::string, SubmitOpJobInfo> m_submitOpJobs;
    std::map<std::string, Weftline::TaskDesc> m_taskDescs;
    std::vector<RegistrationParams> m_registrations;
};

}  // namespace PlatformAbstraction::Messaging
