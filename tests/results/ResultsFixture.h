#pragma once

#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {

using TestSupport::ScriptedAnswer;
using TestSupport::StoreFault;

class ResultsFixture : public TestSupport::HandlerFixture {
protected:
    /// Stores a record under "id-0", "id-1", ...
    void Store(const std::string& collection, const std::string& type, const std::string& data,
               std::int32_t version = 1) {
        Record record(type, version, collection);
        record.recordID = "id-" + std::to_string(m_nextId++);
        record.recordData = data;
        record.recordPublicData = request;
        ASSERT_TRUE(stores.records->UpsertOne(record));
    }
    std::size_t CountStored() const { return stores.records->Records().size(); }

    /// For the query whose results `Store` stores.
    const std::string request = R"({"queryID":"q"})";

private:
    int m_nextId = 0;
};

}  // namespace Weftline::Services::Scheduler
