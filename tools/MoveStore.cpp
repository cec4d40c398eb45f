// Moves what lies in a store's file to the stores of many machines. docs/many-machines.md tells how it is
// used.

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/positional_options.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <boost/program_options/variables_map.hpp>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "platform/deployment/DeployedTransport.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"
#include "platform/stores/sqlite/StoreContents.h"
#include "service/ServiceOptions.h"
#include "tools/StoreMove.h"

namespace {

namespace po = boost::program_options;
namespace Options = Weftline::Options;
namespace StoreChoice = CommonServices::StoreChoice;
using Quillon::Tools::StoreMove;

constexpr int kMoved = 0;
constexpr int kStopped = 1;  // by a fault; to be run again
constexpr int kWrongCall = 2;
constexpr int kRefused = 3;  // records, so no events were sent

constexpr const char* kFile = "file";
constexpr const char* kDryRun = "dry-run";
constexpr const char* kHistory = "history";
constexpr const char* kDespiteRefusals = "despite-refusals";

po::options_description DescribeOptions() {
    const auto text = [](const char* byDefault) {
        return po::value<std::string>()->default_value(byDefault);
    };
    po::options_description description("quillon-move-store FILE [OPTION]...");
    auto add = description.add_options();
    add(kFile, po::value<std::string>()->required(), "the store's file; no service may use it");
    add(Options::MongoUri.data(), text(""), "where the records go; needed but for --dry-run");
    add(Options::MongoDb.data(), text("wf"), "with the realm, the name of their database");
    add(Options::Realm.data(), text("test"), "the services' realm");
    add(Options::KafkaHost.data(), text(""), "where the events go");
    add(Options::KafkaPort.data(), text("9092"), "");
    add(Options::Config.data(), text(""), "the services' file of settings");
    add(kDryRun, po::bool_switch(), "only tell what would be moved");
    add(kHistory, po::bool_switch(), "send the events of jobs that have ended, too");
    add(kDespiteRefusals, po::bool_switch(), "send the events although records were refused");
    return description;
}

// As the services': the command line wins over the environment. But what is unknown is refused: a wish that
// is mistyped would change what is done.
std::optional<po::variables_map> ReadOptions(int argc, char* argv[]) {
    const po::options_description description = DescribeOptions();
    po::positional_options_description bare;
    bare.add(kFile, 1);
    try {
        po::variables_map options;
        po::store(po::command_line_parser(argc, argv)
                      .options(description)
                      .positional(bare)
                      .style(po::command_line_style::default_style & ~po::command_line_style::allow_guessing)
                      .run(),
                  options);
        po::store(po::parse_environment(description,
                                        [](const std::string& variable) {
                                            constexpr std::string_view kPrefix = "zrf_";
                                            const std::string name = variable.starts_with(kPrefix)
                                                                         ? variable.substr(kPrefix.size())
                                                                         : std::string();
                                            const bool isKnown =
                                                name == Options::MongoUri || name == Options::MongoDb ||
                                                name == Options::Realm || name == Options::KafkaHost ||
                                                name == Options::KafkaPort || name == Options::Config;
                                            return isKnown ? name : std::string();
                                        }),
                  options);
        po::notify(options);
        return options;
    } catch (const std::exception& refused) {
        std::cerr << refused.what() << '\n' << description;
        return std::nullopt;
    }
}

// False, with a line in the log, where they cannot be had.
bool OpenTarget(const po::variables_map& options) {
    for (const std::string_view key : {Options::KafkaHost, Options::KafkaPort}) {
        PlatformAbstraction::AddConfigData(std::string(key), options[key.data()].as<std::string>());
    }
    const auto textOf = [&options](std::string_view key) { return options[key.data()].as<std::string>(); };
    namespace Messaging = PlatformAbstraction::Messaging;
    return Messaging::MakeDistributedTransport()->ReadSettings(textOf(Options::Config)) ==
               Messaging::InitError::None &&
           CommonServices::ObjectStore::Init(std::string(Weftline::DeploymentModes::Distributed),
                                             textOf(Options::MongoDb), textOf(Options::MongoUri),
                                             Weftline::Services::MakeStoreSuffix(textOf(Options::Realm)));
}

void Tell(const StoreMove& move, bool isDry) {
    std::cout << (isDry ? "To be moved, there already, to be refused:\n"
                        : "Moved, there already, refused:\n");
    for (const auto& [collection, count] : move.Records()) {
        std::cout << "    " << collection << ": " << count.moved << ", " << count.there << ", "
                  << count.refused << '\n';
    }
    const Quillon::Tools::MovedEvents& events = move.Events();
    std::cout << "Events: " << events.sent << (isDry ? " to be sent, " : " sent, ") << events.sentBefore
              << " dealt with by a run before, " << events.doneWith << " of jobs that have ended left out, "
              << events.ofNoJob << " of jobs that are gone left out" << std::endl;
}

int Run(const po::variables_map& options) {
    const bool isDry = options[kDryRun].as<bool>();
    CommonServices::Sqlite::StoreContents file(options[kFile].as<std::string>());
    Quillon::Tools::MoveTarget target;
    if (!isDry || !options[Options::MongoUri.data()].as<std::string>().empty()) {
        if (!OpenTarget(options)) {
            return kStopped;
        }
        target = {StoreChoice::Records().get(), StoreChoice::Events().get()};
    }
    StoreMove move(file, target, {isDry, options[kHistory].as<bool>(), options[kDespiteRefusals].as<bool>()});
    int code = kStopped;
    try {
        code = move.Run() ? kMoved : kRefused;
    } catch (const std::exception& fault) {
        PlatformAbstraction::Log::Error(fault.what());
    }
    Tell(move, isDry);
    if (code == kStopped) {
        std::cout << "It stopped before the end; run it again to go on." << std::endl;
    } else if (code == kRefused) {
        std::cout << "No events were sent, since records were refused; see the lines above." << std::endl;
    }
    return code;
}

}  // namespace

int main(int argc, char* argv[]) {
    const auto options = ReadOptions(argc, argv);
    if (!options) {
        return kWrongCall;
    }
    int code = kStopped;
    try {
        code = Run(*options);
    } catch (const std::exception& fault) {
        PlatformAbstraction::Log::Error(fault.what());
    }
    StoreChoice::LetGoOfEngines();
    return code;
}
