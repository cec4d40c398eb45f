#pragma once

#include <string>

namespace Weftline::Services {

/// The end of the record store's name, which keeps realms and layouts of the stored records apart:
/// `_test_2_3_12` for the realm "test". The realm "global" is not named in it.
std::string MakeStoreSuffix(const std::string& realm);

}  // namespace Weftline::Services
