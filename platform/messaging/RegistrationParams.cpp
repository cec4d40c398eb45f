#include "platform/messaging/RegistrationParams.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace PlatformAbstraction {

std::string_view MethodName(HTTPMethod method) {
    switch (method) {
        case HTTPMethod::Get:
            return "GET";
        case HTTPMethod::Post:
            return "POST";
        case HTTPMethod::Delete:
            return "DELETE";
    }
    throw std::invalid_argument("No REST method has the code " + std::to_string(static_cast<int>(method)) +
                                ".");
}

PathPattern ReadPathPattern(std::string_view restPath) {
    PathPattern pattern;
    if (restPath.starts_with('/')) {
        restPath.remove_prefix(1);
    }
    while (true) {
        const std::size_t end = std::min(restPath.find('/'), restPath.size());
        const std::string_view text = restPath.substr(0, end);
        const bool isPlaceholder = text.size() > 2 && text.front() == '{' && text.back() == '}';
        pattern.push_back(
            {std::string(isPlaceholder ? text.substr(1, text.size() - 2) : text), isPlaceholder});
        if (end == restPath.size()) {
            return pattern;
        }
        restPath.remove_prefix(end + 1);
    }
}

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

RegParamsBuilder& RegParamsBuilder::SetTakesAway() {
    m_result.takesAway = true;
    return *this;
}

RegistrationParams RegParamsBuilder::GetResult() const {
    return m_result;
}

}  // namespace PlatformAbstraction
