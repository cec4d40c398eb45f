#include "tests/stores/StoreSubjects.h"

#include "platform/stores/sqlite/EmbeddedStore.h"
#include "tests/support/FakeEventLog.h"
#include "tests/support/FakeRecordStore.h"

const std::vector<StoreFactory>& StoreFactories() {
    static const auto makeEmbedded = [] {
        StoreSubject subject;
        auto store = CommonServices::OpenEmbeddedStore(subject.directory->File("store.db"));
        subject.records = std::move(store.records);
        subject.events = std::move(store.events);
        return subject;
    };
    static const auto makeFake = [] {
        return StoreSubject{.records = std::make_shared<TestSupport::FakeRecordStore>(),
                            .events = std::make_shared<TestSupport::FakeEventLog>()};
    };
    static const std::vector<StoreFactory> factories = {{"Embedded", makeEmbedded}, {"Fake", makeFake}};
    return factories;
}

Weftline::Record RecordOf(const std::string& id, const std::string& topic, const std::string& type) {
    Weftline::Record record(type, 1, topic);
    record.recordID = id;
    return record;
}

Weftline::Record ResultOf(const std::string& id, const std::string& query) {
    Weftline::Record record = RecordOf(id, "V2_WFMobIDs", "MobID");
    record.recordPublicData = R"({"tags":[],"queryID":")" + query + "\"}";
    return record;
}

std::vector<std::string> IdsOf(const std::vector<Weftline::Record>& records) {
    std::vector<std::string> ids;
    for (const Weftline::Record& record : records) {
        ids.push_back(record.recordID);
    }
    return ids;
}
