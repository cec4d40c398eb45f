#pragma once

#include <map>
#include <string>
#include <vector>

namespace PlatformAbstraction {

/// The settings of the process, key to text. Filled by the main thread at start; any thread may read.
void AddConfigData(const std::string& key, const std::string& value);
/// A copy of all of them.
std::map<std::string, std::string> GetConfigData();
/// One of them, or the empty text.
std::string GetConfigValue(const std::string& key);

/// The keys whose values are never shown. Process-wide and changeable; for the main thread at start.
std::vector<std::string>& ConfigDataSecureKeys();

}  // namespace PlatformAbstraction
