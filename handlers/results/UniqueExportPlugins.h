#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

/// Gathers the export plug-ins of the farm's workers, each once however many workers have it: the first copy
/// stays. Types and identities are compared byte for byte. For one thread.
class UniqueExportPlugins {
public:
    /// An empty `typeFilter` lets every plug-in pass.
    explicit UniqueExportPlugins(std::string typeFilter);

    /// Takes the plug-ins of one worker, as its record describes it. A worker whose list holds anything but
    /// trees is passed over. Throws `std::runtime_error` for a plug-in without identity, or without a type
    /// where there is a filter; what the filter keeps out needs no identity.
    void AddWorker(const CoreServices::Parameters& worker);

    /// In order of first sight, each as its worker has it; the empty tree where there are none.
    CoreServices::Parameters MakeAnswer() const;

private:
    void AddPlugin(const CoreServices::Parameters& plugin);

    const std::string m_typeFilter;
    std::unordered_set<std::string> m_seen;
    std::vector<CoreServices::Parameters> m_plugins;
};

}  // namespace Weftline::Services::Scheduler
