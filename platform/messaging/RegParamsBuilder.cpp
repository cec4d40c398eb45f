#include "platform/messaging/RegParamsBuilder.h"

#include <utility>

namespace PlatformAbstraction {

RegParamsBuilder& RegParamsBuilder::SetName(std::string name) {
    m_result.name = std::move(name);
    return *this;
}

RegParamsBuilder& RegParamsBuilder::SetDescription(std::string description) {
    m_result.description = std::move(description);
    return *this;
}

RegParamsBuilder& RegParamsBuilder::AddExample(MessageExample example) {
    m_result.examples.push_back(std::move(example));
    return *this;
}

RegParamsBuilder& RegParamsBuilder::SetRESTPath(std::string path) {
    m_result.restPath = std::move(path);
    return *this;
}

RegParamsBuilder& RegParamsBuilder::SetRESTMethod(HTTPMethod method) {
    m_result.restMethod = method;
    return *this;
}

RegistrationParams RegParamsBuilder::GetResult() const {
    return m_result;
}

}  // namespace PlatformAbstraction
