#include "service/BaseOptions.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>

#include "Core/src/Vocabulary.h"

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

}  // namespace Weftline::Services
