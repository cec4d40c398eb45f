#include "service/StartupParameters.h"

#include <algorithm>
#include <boost/any.hpp>
#include <boost/program_options/variables_map.hpp>
#include <ostream>
#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/ConfigurationStore.h"

namespace Weftline::Services {

namespace {

namespace po = boost::program_options;

bool IsSecure(const std::string& key) {
    const auto& keys = PlatformAbstraction::ConfigDataSecureKeys();
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

void StoreParameter(const std::string& key, const po::variable_value& value, std::ostream& stream) {
    const auto* const text = boost::any_cast<std::string>(&value.value());
    if (key == Options::Config || text == nullptr) {
        return;
    }
    PlatformAbstraction::AddConfigData(key, *text);
    stream << '\t' << key << " = " << (IsSecure(key) ? "********" : *text) << '\n';
}

}  // namespace

void StoreStartupParameters(const po::variables_map& options, std::ostream& stream) {
    stream << "\nStartup Parameters:\n";
    for (const auto& [key, value] : options) {
        try {
            StoreParameter(key, value, stream);
        } catch (...) {  // NOLINT(bugprone-empty-catch): one bad entry does not keep the others out
        }
    }
    stream << '\n';
}

}  // namespace Weftline::Services
