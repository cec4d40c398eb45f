#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/EmbeddedStore.h"
#include "platform/stores/sqlite/SqliteOptions.h"
#include "tests/stores/ForeignProgram.h"
#include "tests/stores/StoreSubjects.h"
#include "tests/stores/TempDirectory.h"

/// An embedded store in a directory of the test's own, which can be closed and opened anew.
class EmbeddedFixture : public testing::Test {
protected:
    static constexpr std::int32_t kAll = std::numeric_limits<std::int32_t>::max();

    EmbeddedFixture() { options.path = directory.File("store.db"); }

    void Open() { store = CommonServices::OpenEmbeddedStore(options); }
    void Close() { store = {}; }

    bool Append(const std::string& id, bool durable = true) {
        return store.events->Produce(RecordOf(id, "V2_WFJobEvents"), durable);
    }
    std::size_t CountEvents() { return store.events->Read("V2_WFJobEvents", 0, 1000, {}).size(); }
    bool Upsert(const std::string& id) { return store.records->UpsertOne(RecordOf(id)); }
    std::vector<std::string> Jobs() {
        return IdsOf(store.records->FindRecordsOfType("V2_WFJobs", "Job", 0, kAll));
    }
    std::vector<std::string> Results(const std::string& query) {
        return IdsOf(
            store.records->FindRecordsWithReferencedID("V2_WFMobIDs", "MobID", "queryID", query, 0, kAll));
    }

    const TempDirectory directory;
    CommonServices::Sqlite::SqliteOptions options;
    CommonServices::EmbeddedStore store;
};
