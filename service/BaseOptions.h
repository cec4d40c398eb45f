#pragma once

#include <cstdint>
#include <string>

namespace boost::program_options {
class options_description;
}  // namespace boost::program_options

namespace Weftline::Services {

/// How a service is described on the bus, as the options have it. Empty until they were parsed.
struct DescribedService {
    std::string name;
    std::string realm;
    std::int32_t version = 0;
    std::string host;
};

/// Adds the options that every service has. `defaultName` and `defaultVersion` are the service's own.
/// `described` gets its values when the options are notified and must live until then.
void AddBaseOptions(boost::program_options::options_description& description, const std::string& defaultName,
                    std::int32_t defaultVersion, DescribedService& described);

}  // namespace Weftline::Services
