#pragma once

#include <memory>

#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"
#include "tests/support/FakeEventLog.h"
#include "tests/support/FakeRecordStore.h"

namespace TestSupport {

/// Puts fresh fake stores in the place of the process's own, as long as this lives. When it ends, there are
/// no stores at all, whatever was there before.
class StoresInPlace {
public:
    StoresInPlace() {
        CommonServices::ObjectStore::Use(records);
        CommonServices::EventStore::Use(events);
    }
    ~StoresInPlace() {
        CommonServices::EventStore::Use(nullptr);
        CommonServices::ObjectStore::Use(nullptr);
    }
    StoresInPlace(const StoresInPlace&) = delete;
    StoresInPlace& operator=(const StoresInPlace&) = delete;

    const std::shared_ptr<FakeRecordStore> records = std::make_shared<FakeRecordStore>();
    const std::shared_ptr<FakeEventLog> events = std::make_shared<FakeEventLog>();
};

}  // namespace TestSupport
