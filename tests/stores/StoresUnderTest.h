#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "tests/stores/TempDirectory.h"

/// A record store and an event log that have to keep what every one promises.
struct StoresUnderTest {
    struct Opened {
        std::shared_ptr<CommonServices::RecordStore> records;
        std::shared_ptr<CommonServices::EventLog> log;
    };

    std::string name;
    std::function<Opened(const TempDirectory&)> open;

    friend void PrintTo(const StoresUnderTest& stores, std::ostream* out) { *out << stores.name; }
};

/// Which ones: each program of tests says so itself.
std::vector<StoresUnderTest> AllStoresUnderTest();
