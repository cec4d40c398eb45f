#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "tests/stores/TempDirectory.h"

/// An implementation under test, with what it stands on.
struct StoreSubject {
    std::shared_ptr<TempDirectory> directory = std::make_shared<TempDirectory>();  // outlives the stores
    std::shared_ptr<CommonServices::RecordStore> records;
    std::shared_ptr<CommonServices::EventLog> events;
};

struct StoreFactory {
    std::string name;
    std::function<StoreSubject()> make;

    friend void PrintTo(const StoreFactory& factory, std::ostream* stream) { *stream << factory.name; }
};

/// All implementations of the two interfaces: a new one is added here and nowhere else.
const std::vector<StoreFactory>& StoreFactories();

/// A record with a chosen id.
Weftline::Record RecordOf(const std::string& id, const std::string& topic = "V2_WFJobs",
                          const std::string& type = "Job");
/// A record that refers to the query `query`.
Weftline::Record ResultOf(const std::string& id, const std::string& query);

std::vector<std::string> IdsOf(const std::vector<Weftline::Record>& records);
