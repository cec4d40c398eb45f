#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/messaging/RegistrationParams.h"

namespace PlatformAbstraction::Rest {

/// How large the answers of one message get. Any thread may ask and tell.
class AnswerSize {
public:
    /// What the next one may take, as far as the largest so far tells; 0 where that was small.
    std::size_t Expected() const noexcept { return m_largest.load(std::memory_order_relaxed); }
    void Note(std::size_t bytes) noexcept {
        std::size_t largest = m_largest.load(std::memory_order_relaxed);
        while (bytes > std::max(largest, kSmall) &&
               !m_largest.compare_exchange_weak(largest, bytes, std::memory_order_relaxed)) {
        }
    }

private:
    static constexpr std::size_t kSmall = 8192;

    std::atomic<std::size_t> m_largest{0};
};

/// Where a request goes.
struct Route {
    std::string_view operation;     ///< the message's registered name; lives as long as the table
    std::string_view pathMethods;   ///< what the path takes, as `Allow` names it; lives as long
    AnswerSize* answers = nullptr;  ///< of the message; lives as long
    bool takesAway = false;         ///< as the registration says
    std::vector<std::pair<std::string, std::string>> placeholders;  ///< name and decoded text
};

/// Which method and path reaches which message: `METHOD /<REST path>` of each registration, and
/// `POST /messages/<registered name>` for all of them. HEAD reaches what GET reaches. Case-sensitive.
/// Constant once built, but for the sizes of answers, so any thread may ask.
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
    struct Operation {
        std::string method;
        std::string name;
        bool takesAway = false;
    };
    struct Path {
        PathPattern pattern;
        std::vector<Operation> operations;
        std::string methods;  // joined for `Allow`
    };

    using Messages = std::unordered_map<std::string, std::unique_ptr<AnswerSize>>;

    static bool Matches(const Path& path, const std::vector<std::string>& segments);
    Route MakeRoute(const Path& path, const Operation& operation,
                    const std::vector<std::string>& segments) const;
    void Add(const RegistrationParams& registration);
    Answer FindMessage(std::string_view method, const std::string& name) const;

    std::vector<Path> m_paths;  // those without placeholders first: they win
    Messages m_messages;        // by name
};

}  // namespace PlatformAbstraction::Rest
