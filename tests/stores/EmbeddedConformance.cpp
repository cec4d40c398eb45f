#include "platform/stores/sqlite/EmbeddedStore.h"
#include "platform/stores/sqlite/SqliteOptions.h"
#include "tests/stores/EventLogConformance.h"
#include "tests/stores/StoresUnderTest.h"
#include "tests/support/FakeStores.h"

namespace {

using CommonServices::Sqlite::Compression;

StoresUnderTest Embedded(const std::string& name, Compression compression) {
    return {name, [compression](const TempDirectory& directory) -> StoresUnderTest::Opened {
                CommonServices::Sqlite::SqliteOptions options;
                options.path = directory.File("store.db");
                options.compression = compression;
                const auto embedded = CommonServices::OpenEmbeddedStore(options);
                return {embedded.records, embedded.events};
            }};
}

}  // namespace

std::vector<StoresUnderTest> AllStoresUnderTest() {
    return {Embedded("Embedded", Compression::Zstd),
            Embedded("EmbeddedPlain", Compression::None),
            {"Fake", [](const TempDirectory&) -> StoresUnderTest::Opened {
                 return {std::make_shared<TestSupport::FakeRecordStore>(),
                         std::make_shared<TestSupport::FakeEventLog>()};
             }}};
}

INSTANTIATE_TEST_SUITE_P(, EventLogs,
                         testing::Values(EventLogRow{"Embedded",
                                                     [](const TempDirectory& directory) {
                                                         return AllStoresUnderTest()[0].open(directory).log;
                                                     }},
                                         EventLogRow{"Fake",
                                                     [](const TempDirectory&) {
                                                         return std::make_shared<TestSupport::FakeEventLog>();
                                                     }}),
                         NameOfRow);
