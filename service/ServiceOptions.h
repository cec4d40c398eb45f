#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

namespace boost::program_options {
class options_description;
class variables_map;
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

/// Where options are looked for. What comes first here wins over what comes later; both win over the
/// defaults.
struct OptionSources {
    bool commandLine = false;
    bool environment = false;
    std::string environmentPrefix;  ///< a variable's name is this and the exact name of an option
};

/// Fills `options` by `description` and then notifies it, which gives the variables behind the description
/// their values. On the command line an option's name may be shortened as far as it stays unique; unknown
/// options and bare words are left out without a word.
///
/// False, with the parser's text in a line of standard output, on a bad command line or environment:
/// `options` then holds what was read before the fault, and nothing was notified.
bool ParseOptions(const std::string& commandLine,
                  const boost::program_options::options_description& description,
                  boost::program_options::variables_map& options, const OptionSources& sources);

/// Copies every option that holds text into the configuration store, `config` excepted, and lists what it
/// copied on `stream`, in the order of the names. Secure values are stored as they are and listed as
/// asterisks. This is what fills the configuration store; it must come before the first reading of it.
void StoreStartupParameters(const boost::program_options::variables_map& options, std::ostream& stream);

/// The end of the record store's name, which keeps realms and layouts of the stored records apart:
/// `_test_2_3_12` for the realm "test". The realm "global" is not named in it.
std::string MakeStoreSuffix(const std::string& realm);

}  // namespace Weftline::Services
