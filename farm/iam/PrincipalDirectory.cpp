#include "farm/iam/PrincipalDirectory.h"

#include <mutex>

namespace Quillon::Farm {

void PrincipalDirectory::Replace(const std::vector<Principal>& principals) {
    std::map<std::string, std::string> displayNamesById;
    for (const Principal& principal : principals) {
        displayNamesById.emplace(principal.identityId, principal.displayName);
    }
    const std::lock_guard lock(m_mutex);
    m_displayNamesById.swap(displayNamesById);
}

std::optional<std::string> PrincipalDirectory::FindDisplayName(const std::string& identityId) const {
    const std::shared_lock lock(m_mutex);
    const auto found = m_displayNamesById.find(identityId);
    return found == m_displayNamesById.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace Quillon::Farm
