#include "platform/messaging/ServiceInfo.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace PlatformAbstraction::Messaging {

namespace {

// The name of a placeholder plays no part.
bool IsSameRoute(const RegistrationParams& left, const RegistrationParams& right) {
    if (left.restPath.empty() || right.restPath.empty() || left.restMethod != right.restMethod) {
        return false;
    }
    return std::ranges::equal(ReadPathPattern(left.restPath), ReadPathPattern(right.restPath),
                              [](const PathSegment& one, const PathSegment& two) {
                                  return one.isPlaceholder == two.isPlaceholder &&
                                         (one.isPlaceholder || one.text == two.text);
                              });
}

template <typename Handler>
Handler& Required(const std::shared_ptr<Handler>& handler) {
    if (!handler) {
        throw std::runtime_error("A message handler was registered that is not there.");
    }
    return *handler;
}

}  // namespace

void ServiceInfoApi::SetNameRealmVersion(std::string name, std::string realm, std::int32_t version) {
    m_Name = std::move(name);
    m_Realm = std::move(realm);
    m_Version = version;
}

void ServiceInfoApi::SetHost(std::string host) {
    m_Host = std::move(host);
}

void ServiceInfoApi::AssignErrorCodes(std::vector<ErrorCode> errorCodes) {
    m_pErrorCodes = std::make_shared<std::vector<ErrorCode>>(std::move(errorCodes));
}

std::shared_ptr<ServiceInfoApi> ConstructServiceInfo() {
    return std::make_shared<ServiceInfo>();
}

bool ServiceInfo::HasMessageHandlers() const {
    return !m_messageHandlers.empty() || !m_messageHandlersV2.empty() || !m_submitMessageHandlers.empty() ||
           !m_messageSetHandlers.empty();
}

void ServiceInfo::SetEventStore(std::shared_ptr<CommonServices::EventStore> eventStore) {
    m_pEventStore = std::move(eventStore);
}

std::shared_ptr<CommonServices::EventStore> ServiceInfo::GetEventStore() const {
    return m_pEventStore;
}

void ServiceInfo::AddMessageHandler(std::shared_ptr<ServiceMessageHandler> handler) {
    const std::string name = Register(Required(handler).GetRegistrationParams());
    m_messageHandlers.emplace(name, std::move(handler));
}

void ServiceInfo::AddMessageHandlerV2(std::shared_ptr<ServiceMessageHandlerV2> handler) {
    const std::string name = Register(Required(handler).GetRegistrationParams());
    m_messageHandlersV2.emplace(name, std::move(handler));
}

void ServiceInfo::AddSubmitMessageHandler(std::shared_ptr<Weftline::SubmitMessageHandler> handler,
                                          SubmitOpJobInfo info) {
    const std::string name = Register(Required(handler).GetRegistrationParams());
    m_submitMessageHandlers.emplace(name, std::move(handler));
    m_submitOpJobs.emplace(name, std::move(info));
}

void ServiceInfo::AddMessageHandlerSet(std::shared_ptr<ServiceMessageHandlerSet> set) {
    const std::string setName = Required(set).GetSetName();
    if (IsRegisteredMessageHandlerSet(setName)) {
        throw std::runtime_error("A message handler set \"" + setName + "\" is registered already.");
    }
    const std::size_t before = m_registrations.size();
    try {
        for (RegistrationParams& registration : set->GetRegistrationParamsOfSet()) {
            Register(std::move(registration));
        }
    } catch (...) {
        m_registrations.resize(before);  // a set is registered whole or not at all
        throw;
    }
    m_messageSetHandlers.emplace(setName, std::move(set));
}

bool ServiceInfo::IsRegisteredTask(const std::string& name) const {
    return m_taskDescs.contains(name);
}

bool ServiceInfo::IsRegisteredMessageHandler(const std::string& name) const {
    return m_messageHandlers.contains(name);
}

bool ServiceInfo::IsRegisteredMessageHandlerV2(const std::string& name) const {
    return m_messageHandlersV2.contains(name);
}

bool ServiceInfo::IsRegisteredSubmitMessageHandler(const std::string& name) const {
    return m_submitMessageHandlers.contains(name);
}

bool ServiceInfo::IsRegisteredMessageHandlerSet(const std::string& name) const {
    return m_messageSetHandlers.contains(name);
}

const std::map<std::string, std::shared_ptr<ServiceMessageHandler>>& ServiceInfo::GetMessageHandlers() const {
    return m_messageHandlers;
}

const std::map<std::string, std::shared_ptr<ServiceMessageHandlerV2>>& ServiceInfo::GetMessageHandlersV2()
    const {
    return m_messageHandlersV2;
}

const std::map<std::string, std::shared_ptr<Weftline::SubmitMessageHandler>>&
ServiceInfo::GetSubmitMessageHandlers() const {
    return m_submitMessageHandlers;
}

const std::map<std::string, std::shared_ptr<ServiceMessageHandlerSet>>& ServiceInfo::GetMessageSetHandlers()
    const {
    return m_messageSetHandlers;
}

const std::map<std::string, SubmitOpJobInfo>& ServiceInfo::GetSubmitOpJobs() const {
    return m_submitOpJobs;
}

const std::map<std::string, Weftline::TaskDesc>& ServiceInfo::GetTaskDescMap() const {
    return m_taskDescs;
}

const std::vector<RegistrationParams>& ServiceInfo::GetRegistrations() const {
    return m_registrations;
}

void ServiceInfo::ReleaseHandlers() {
    m_messageHandlers.clear();
    m_messageHandlersV2.clear();
    m_submitMessageHandlers.clear();
    m_messageSetHandlers.clear();
}

std::string ServiceInfo::Register(RegistrationParams registration) {
    if (registration.name.empty()) {
        throw std::runtime_error("A message handler was registered without a name.");
    }
    for (const RegistrationParams& other : m_registrations) {
        if (other.name == registration.name) {
            throw std::runtime_error("A handler of the message \"" + registration.name +
                                     "\" is registered already.");
        }
        if (IsSameRoute(registration, other)) {
            throw std::runtime_error("The REST path " + std::string(MethodName(registration.restMethod)) +
                                     " \"" + registration.restPath + "\" of the message \"" +
                                     registration.name + "\" is taken by the message \"" + other.name +
                                     "\".");
        }
    }
    return m_registrations.emplace_back(std::move(registration)).name;
}

}  // namespace PlatformAbstraction::Messaging
