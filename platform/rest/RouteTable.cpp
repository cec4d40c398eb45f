#include "platform/rest/RouteTable.h"

#include <algorithm>
#include <cstddef>

#include "platform/rest/RequestTarget.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr std::string_view kMessages = "messages";
constexpr std::string_view kMessagesMethod = "POST";
constexpr std::string_view kGet = "GET";
constexpr std::string_view kHead = "HEAD";

void AppendMethod(std::string& methods, std::string_view more) {
    methods.append(methods.empty() ? "" : ", ").append(more);
}

}  // namespace

RouteTable::RouteTable(const std::vector<RegistrationParams>& registrations) {
    for (const RegistrationParams& registration : registrations) {
        m_messages.try_emplace(registration.name, std::make_unique<AnswerSize>());
        if (!registration.restPath.empty()) {
            Add(registration);
        }
    }
    std::stable_partition(m_paths.begin(), m_paths.end(), [](const Path& path) {
        return std::none_of(path.pattern.begin(), path.pattern.end(),
                            [](const PathSegment& segment) { return segment.isPlaceholder; });
    });
}

void RouteTable::Add(const RegistrationParams& registration) {
    PathPattern pattern = ReadPathPattern(registration.restPath);
    auto known = std::find_if(m_paths.begin(), m_paths.end(),
                              [&pattern](const Path& other) { return other.pattern == pattern; });
    if (known == m_paths.end()) {
        known = m_paths.insert(m_paths.end(), Path{std::move(pattern), {}, {}});
    }
    known->operations.push_back(
        {std::string(MethodName(registration.restMethod)), registration.name, registration.takesAway});
    AppendMethod(known->methods, known->operations.back().method);
    if (registration.restMethod == HTTPMethod::Get) {
        AppendMethod(known->methods, kHead);
    }
}

bool RouteTable::Matches(const Path& path, const std::vector<std::string>& segments) {
    return std::equal(path.pattern.begin(), path.pattern.end(), segments.begin(), segments.end(),
                      [](const PathSegment& expected, const std::string& given) {
                          return expected.isPlaceholder ? !given.empty() : expected.text == given;
                      });
}

Route RouteTable::MakeRoute(const Path& path, const Operation& operation,
                            const std::vector<std::string>& segments) const {
    Route route{operation.name, path.methods, m_messages.at(operation.name).get(), operation.takesAway, {}};
    for (std::size_t n = 0; n < segments.size(); ++n) {
        if (path.pattern[n].isPlaceholder) {
            route.placeholders.emplace_back(path.pattern[n].text, segments[n]);
        }
    }
    return route;
}

RouteTable::Answer RouteTable::Find(std::string_view method, const std::vector<std::string>& segments) const {
    Answer answer;
    for (const Path& path : m_paths) {
        if (!Matches(path, segments)) {
            continue;
        }
        for (const Operation& operation : path.operations) {
            if (operation.method == (method == kHead ? kGet : method)) {
                answer.route = MakeRoute(path, operation, segments);
                return answer;
            }
        }
        AppendMethod(answer.allowedMethods, path.methods);
    }
    if (answer.allowedMethods.empty() && segments.size() == 2 && segments.front() == kMessages) {
        return FindMessage(method, segments.back());
    }
    return answer;
}

RouteTable::Answer RouteTable::FindMessage(std::string_view method, const std::string& name) const {
    Answer answer;
    const auto known = m_messages.find(name);
    if (known == m_messages.end()) {
        return answer;
    }
    if (method == kMessagesMethod) {
        answer.route = Route{known->first, kMessagesMethod, known->second.get(), false, {}};
    } else {
        answer.allowedMethods = kMessagesMethod;
    }
    return answer;
}

}  // namespace PlatformAbstraction::Rest
