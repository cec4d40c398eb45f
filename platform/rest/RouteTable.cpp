#include "platform/rest/RouteTable.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "platform/rest/RequestTarget.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr std::string_view kMessages = "messages";
constexpr std::string_view kMessagesMethod = "POST";

void AppendMethod(std::string& methods, std::string_view more) {
    methods.append(methods.empty() ? "" : ", ").append(more);
}

}  // namespace

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

RouteTable::RouteTable(const std::vector<RegistrationParams>& registrations) {
    for (const RegistrationParams& registration : registrations) {
        m_names.insert(registration.name);
        if (!registration.restPath.empty()) {
            Add(registration);
        }
    }
    std::stable_partition(m_paths.begin(), m_paths.end(), [](const Path& path) {
        return std::none_of(path.segments.begin(), path.segments.end(),
                            [](const Segment& segment) { return segment.isPlaceholder; });
    });
}

RouteTable::Path RouteTable::ReadPattern(const std::string& restPath) {
    Path path;
    std::string_view rest = restPath;
    if (rest.front() == '/') {
        rest.remove_prefix(1);
    }
    while (true) {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        const std::string_view text = rest.substr(0, end);
        const bool isPlaceholder = text.size() > 2 && text.front() == '{' && text.back() == '}';
        path.segments.push_back(
            Segment{std::string(isPlaceholder ? text.substr(1, text.size() - 2) : text), isPlaceholder});
        if (end == rest.size()) {
            return path;
        }
        rest.remove_prefix(end + 1);
    }
}

void RouteTable::Add(const RegistrationParams& registration) {
    Path path = ReadPattern(registration.restPath);
    const auto isSame = [&path](const Path& other) {
        return std::equal(path.segments.begin(), path.segments.end(), other.segments.begin(),
                          other.segments.end(), [](const Segment& one, const Segment& two) {
                              return one.isPlaceholder == two.isPlaceholder && one.text == two.text;
                          });
    };
    auto known = std::find_if(m_paths.begin(), m_paths.end(), isSame);
    if (known == m_paths.end()) {
        known = m_paths.insert(m_paths.end(), std::move(path));
    }
    known->operations.emplace_back(MethodName(registration.restMethod), registration.name);
    AppendMethod(known->methods, known->operations.back().first);
}

bool RouteTable::Matches(const Path& path, const std::vector<std::string>& segments) {
    return std::equal(path.segments.begin(), path.segments.end(), segments.begin(), segments.end(),
                      [](const Segment& expected, const std::string& given) {
                          return expected.isPlaceholder ? !given.empty() : expected.text == given;
                      });
}

Route RouteTable::MakeRoute(const Path& path, const std::string& operation,
                            const std::vector<std::string>& segments) {
    Route route{&operation, path.methods, {}};
    for (std::size_t n = 0; n < segments.size(); ++n) {
        if (path.segments[n].isPlaceholder) {
            route.placeholders.emplace_back(path.segments[n].text, segments[n]);
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
        for (const auto& [offered, operation] : path.operations) {
            if (offered == method) {
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
    const auto known = m_names.find(name);
    if (known == m_names.end()) {
        return answer;
    }
    if (method == kMessagesMethod) {
        answer.route = Route{&*known, kMessagesMethod, {}};
    } else {
        answer.allowedMethods = kMessagesMethod;
    }
    return answer;
}

}  // namespace PlatformAbstraction::Rest
