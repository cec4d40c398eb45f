#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/ServiceInfo.h"

namespace Quillon::Farm {

/// Somebody whom the identity service knows.
struct Principal {
    std::string identityId;
    std::string displayName;
};

/// Whom the identity service knows now. Shared by its handler and the farm. Thread-safe.
class PrincipalDirectory {
public:
    explicit PrincipalDirectory(const std::vector<Principal>& principals) { Replace(principals); }

    /// From now on it is these alone. The first of several with one id counts.
    void Replace(const std::vector<Principal>& principals);
    /// Empty for an id that nobody has.
    std::optional<std::string> FindDisplayName(const std::string& identityId) const;

private:
    mutable PlatformAbstraction::Mutex m_mutex;
    std::map<std::string, std::string> m_displayNamesById QUILLON_GUARDED_BY(m_mutex);
};

/// The identity service of the local farm, ready to be attached: it tells the display name of each of
/// `principals`.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeIdentityService(
    std::shared_ptr<const PrincipalDirectory> principals);

}  // namespace Quillon::Farm
