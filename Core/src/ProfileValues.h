#pragma once

#include <string_view>

#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

/// Copies the value under `sourceKey` to `targetKey`: a text, number, bool, tree or array, whose text does
/// not change on the way. A null or missing value writes nothing.
void CopyParameter(const CoreServices::Parameters& source, CoreServices::Parameters& target,
                   std::string_view sourceKey, std::string_view targetKey);

/// The plain settings of a profile. An object with both `value` and `label` is a setting and becomes its
/// value; any other object is a group and is flattened likewise, to any depth. What is no object is left out.
CoreServices::Parameters FlattenProfileValues(const CoreServices::Parameters& profile);

}  // namespace Weftline::Services::Scheduler
