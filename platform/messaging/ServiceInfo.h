#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/messaging/ServiceMessageHandler.h"

namespace CommonServices {
class EventStore;
}

namespace Weftline {

/// A task as a service may register it. The scheduler registers none.
struct TaskDesc {
    std::string kind;
    std::int32_t version = 0;
};

}  // namespace Weftline

namespace PlatformAbstraction::Messaging {

/// An entry of the error table that a service registers: a code and the two texts that go with it.
struct ErrorCode {
    std::string code;
    std::string title;
    std::string description;

    /// Whether the codes are equal, byte for byte; the texts play no part.
    bool IsEquivalentErrorCode(const ErrorCode& other) const { return code == other.code; }
};

/// What a submission operation is registered with, handed back on each submission.
struct SubmitOpJobInfo {
    std::string jobKind;
    std::string evalTaskKind;
    std::string name;             ///< the job's name: the stored record's, and the first word of a failure
    bool failJobDefault = false;  ///< the default of `failJobOnFirstFailedTask`
};

/// The data of a service's description.
struct ServiceInfoAttributes {
    std::string m_Name;
    std::string m_Realm;
    std::string m_Host;
    std::int32_t m_Version = 0;
    std::string m_InstanceID;
    std::shared_ptr<std::vector<ErrorCode>> m_pErrorCodes;
    std::string m_Description;
    std::string m_Owner;
    std::string m_Contact;
    std::string m_BuildLabel;
    std::vector<std::string> m_Labels;
};

/// Who a service is and what it answers. Filled on the main thread before the bus starts, read by the bus's
/// threads after that. Shared by the service and the bus.
class ServiceInfoApi : public ServiceInfoAttributes {
public:
    virtual ~ServiceInfoApi() = default;

    void SetNameRealmVersion(std::string name, std::string realm, std::int32_t version);
    void SetHost(std::string host);
    std::string GetName() const { return m_Name; }
    std::string GetRealm() const { return m_Realm; }
    std::string GetHost() const { return m_Host; }
    std::int32_t GetVersion() const { return m_Version; }
    void AssignErrorCodes(std::vector<ErrorCode> errorCodes);

    virtual bool HasMessageHandlers() const = 0;
    virtual void SetEventStore(std::shared_ptr<CommonServices::EventStore> eventStore) = 0;
    virtual std::shared_ptr<CommonServices::EventStore> GetEventStore() const = 0;
    // A handler is registered under the name in its own registration. A second handler of a name, of whatever
    // kind, or a second one of a REST method and path, throws `std::runtime_error` that names it.
    virtual void AddMessageHandler(std::shared_ptr<ServiceMessageHandler> handler) = 0;
    virtual void AddMessageHandlerV2(std::shared_ptr<ServiceMessageHandlerV2> handler) = 0;
    virtual void AddSubmitMessageHandler(std::shared_ptr<Weftline::SubmitMessageHandler> handler,
                                         SubmitOpJobInfo info) = 0;
    virtual void AddMessageHandlerSet(std::shared_ptr<ServiceMessageHandlerSet> set) = 0;
    virtual bool IsRegisteredTask(const std::string& name) const = 0;
    virtual bool IsRegisteredMessageHandler(const std::string& name) const = 0;
    virtual bool IsRegisteredMessageHandlerV2(const std::string& name) const = 0;
    virtual bool IsRegisteredSubmitMessageHandler(const std::string& name) const = 0;
    virtual bool IsRegisteredMessageHandlerSet(const std::string& name) const = 0;
};

/// A new, empty description.
std::shared_ptr<ServiceInfoApi> ConstructServiceInfo();

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
