#pragma once

#include <memory>

#include "FakeEventLog.h"
#include "FakeRecordStore.h"

namespace TestSupport {

/// Puts fresh fake stores in the place of the process's own, as long as this lives. When it ends, there are
/// no stores at all, whatever was there before.
class StoresInPlace {
public:
    StoresInPlace();
    ~StoresInPlace();
    StoresInPlace(const StoresInPlace&) = delete;
    StoresInPlace& operator=(const StoresInPlace&) = delete;

    const std::shared_ptr<FakeRecordStore> records = std::make_shared<FakeRecordStore>();
    const std::shared_ptr<FakeEventLog> events = std::make_shared<FakeEventLog>();
};

}  // namespace TestSupport
