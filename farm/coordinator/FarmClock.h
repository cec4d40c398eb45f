#pragma once

#include <string>

namespace Quillon::Farm {

/// The present time as the records of jobs hold it.
std::string NowText();

}  // namespace Quillon::Farm
