#pragma once

#include <string>

namespace PlatformAbstraction::Messaging {

/// What a submission operation is registered with, handed back on each submission.
struct SubmitOpJobInfo {
    std::string jobKind;
    std::string evalTaskKind;
    std::string name;             ///< the job's name: the stored record's, and the first word of a failure
    bool failJobDefault = false;  ///< the default of `failJobOnFirstFailedTask`
};

}  // namespace PlatformAbstraction::Messaging
