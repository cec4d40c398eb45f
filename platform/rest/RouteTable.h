#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/messaging/RegistrationParams.h"

namespace PlatformAbstraction::Rest {

/// Where a request goes.
struct Route {
    std::string_view operation;    ///< the message's registered name; lives as long as the table
    std::string_view pathMethods;  ///< what the path takes, as `Allow` names it; lives as long
    std::vector<std::pair<std::string, std::string>> placeholders;  ///< name and decoded text
};

/// Which method and path reaches which message: `METHOD /<REST path>` of each registration, and
/// `POST /messages/<registered name>` for all of them. Case-sensitive. Constant once built, so any thread may
/// ask.
class RouteTable {
public:
    explicit RouteTable(const std::vector<RegistrationParams>& registrations);

    struct Answer {
        std::optional<Route> route;
        /// Where the path exists but not with this method: what the header `Allow` names. Empty where there
        /// is no such path.
        std::string allowedMethods;
    };
    /// `segments` as `ReadPath` gives them.
    Answer Find(std::string_view method, const std::vector<std::string>& segments) const;

private:
    struct Path {
        PathPattern pattern;
        std::vector<std::pair<std::string, std::string>> operations;  // by method
        std::string methods;                                          // joined for `Allow`
    };

    static bool Matches(const Path& path, const std::vector<std::string>& segments);
    static Route MakeRoute(const Path& path, const std::string& operation,
                           const std::vector<std::string>& segments);
    void Add(const RegistrationParams& registration);
    Answer FindMessage(std::string_view method, const std::string& name) const;

    std::vector<Path> m_paths;  // those without placeholders first: they win
    std::unordered_set<std::string> m_names;
};

}  // namespace PlatformAbstraction::Rest
