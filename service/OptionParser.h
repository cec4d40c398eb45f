#pragma once

#include <string>

namespace boost::program_options {
class options_description;
class variables_map;
}  // namespace boost::program_options

namespace Weftline::Services {

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

}  // namespace Weftline::Services
