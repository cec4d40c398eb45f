#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/messaging/ErrorCode.h"
#include "platform/messaging/ServiceMessageHandler.h"
#include "platform/messaging/ServiceMessageHandlerSet.h"
#include "platform/messaging/ServiceMessageHandlerV2.h"
#include "platform/messaging/SubmitMessageHandler.h"
#include "platform/messaging/SubmitOpJobInfo.h"

namespace CommonServices {
class EventStore;
}

namespace PlatformAbstraction::Messaging {

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

}  // namespace PlatformAbstraction::Messaging
