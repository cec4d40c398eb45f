#include "service/ServiceOptions.h"

#include <algorithm>
#include <boost/any.hpp>
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <boost/program_options/variables_map.hpp>
#include <exception>
#include <iostream>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/ConfigurationStore.h"
#include "service/CommandLine.h"

namespace Weftline::Services {

namespace {

namespace po = boost::program_options;

auto* Text(const char* byDefault) {
    return po::value<std::string>()->default_value(byDefault);
}

auto* TextInto(std::string& target, const std::string& byDefault) {
    return po::value<std::string>(&target)->default_value(byDefault);
}

auto* Switch() {
    return po::value<bool>()->default_value(false);
}

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

// The layout of the stored records. Another one is another store: services of different layouts do not read
// each other's records.
constexpr int kLayoutVersion[] = {2, 3, 12};

}  // namespace

void AddBaseOptions(po::options_description& description, const std::string& defaultName,
                    std::int32_t defaultVersion, DescribedService& described) {
    // The names are views of literals, so each is also a zero-terminated text.
    auto add = description.add_options();
    add(Options::Service.data(), TextInto(described.name, defaultName));
    add(Options::Deploy.data(), Text("standalone"));
    add(Options::Realm.data(), TextInto(described.realm, "test"));
    add(Options::Version.data(), po::value<std::int32_t>(&described.version)->default_value(defaultVersion));
    add(Options::LogLevel.data(), Text("info"));
    add(Options::Verbose.data(), Switch());
    add(Options::Host.data(), TextInto(described.host, "localhost"));
    add(Options::Port.data(), Text("9900"));
    add(Options::KafkaHost.data(), Text(""));
    add(Options::KafkaPort.data(), Text("9092"));
    add(Options::MongoUri.data(), Text(""));
    add(Options::MongoDb.data(), Text("wf"));
    add(Options::JobManagerServiceName.data(), Text(ServiceNames::JobMonitor.data()));
    add(Options::MetadataRootPath.data(), Text("%PUBLIC%/OrvikQuillonService/MetadataRootPath"));
    add(Options::ProxyEventStore.data(), Switch());
    add(Options::EventMaxPollingTimeoutMs.data(), Text("2000"));
    add(Options::Config.data(), Text(""));
}

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

std::string MakeStoreSuffix(const std::string& realm) {
    std::string suffix;
    if (realm != Realms::Global) {
        suffix.append("_").append(realm);
    }
    for (const int number : kLayoutVersion) {
        suffix.append("_").append(std::to_string(number));
    }
    return suffix;
}

}  // namespace Weftline::Services
