#pragma once

#include <memory>

#include "platform/stores/StoreChoice.h"
#include "tests/support/FakeEventLog.h"
#include "tests/support/FakeRecordStore.h"

namespace TestSupport {

/// Puts fresh fake stores in the place of the process's own, as long as this lives. When it ends, there are
/// no stores at all, whatever was there before.
class StoresInPlace {
public:
    StoresInPlace() {
        CommonServices::StoreChoice::SetRecords(records);
        CommonServices::StoreChoice::SetEvents(events);
    }
    ~StoresInPlace() {
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
    }
    StoresInPlace(const StoresInPlace&) = delete;
    StoresInPlace& operator=(const StoresInPlace&) = delete;

    const std::shared_ptr<FakeRecordStore> records = std::make_shared<FakeRecordStore>();
    const std::shared_ptr<FakeEventLog> events = std::make_shared<FakeEventLog>();
};

}  // namespace TestSupport
