#pragma once

#include <map>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

namespace Quillon::Farm {

/// Somebody whom the identity service knows.
struct Principal {
    std::string identityId;
    std::string displayName;
};

/// Whom the identity service knows now. Shared by its handler and the farm; any thread may call.
class PrincipalDirectory {
public:
    explicit PrincipalDirectory(const std::vector<Principal>& principals) { Replace(principals); }

    /// From now on it is these alone. The first of several with one id counts.
    void Replace(const std::vector<Principal>& principals);
    /// Empty for an id that nobody has.
    std::optional<std::string> FindDisplayName(const std::string& identityId) const;

private:
    mutable std::shared_mutex m_mutex;
    std::map<std::string, std::string> m_displayNamesById;  // guarded by m_mutex
};

}  // namespace Quillon::Farm
