#include "service/OptionParser.h"

#include <algorithm>
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/variables_map.hpp>
#include <exception>
#include <iostream>

#include "service/CommandLine.h"

namespace Weftline::Services {

namespace {

namespace po = boost::program_options;

// The description's own look-up is no use here: it throws when it is asked for the empty name.
bool HasOption(const po::options_description& description, const std::string& name) {
    const auto& options = description.options();
    return std::any_of(options.begin(), options.end(),
                       [&](const auto& option) { return option->long_name() == name; });
}

// The name of the option that the variable sets, or the empty text.
std::string OptionOfVariable(const std::string& variable, const std::string& prefix,
                             const po::options_description& description) {
    if (!variable.starts_with(prefix)) {
        return {};
    }
    std::string name = variable.substr(prefix.size());
    return HasOption(description, name) ? name : std::string();
}

}  // namespace

bool ParseOptions(const std::string& commandLine, const po::options_description& description,
                  po::variables_map& options, const OptionSources& sources) {
    try {
        const auto words = SplitCommandLine(commandLine);
        if (sources.commandLine) {
            po::store(po::command_line_parser(words).options(description).allow_unregistered().run(),
                      options);
        }
        if (sources.environment) {
            const auto optionOf = [&](const std::string& variable) {
                return OptionOfVariable(variable, sources.environmentPrefix, description);
            };
            po::store(po::parse_environment(description, optionOf), options);
        }
        po::notify(options);
        return true;
    } catch (const std::exception& failure) {
        std::cout << failure.what() << '\n';
        return false;
    }
}

}  // namespace Weftline::Services
