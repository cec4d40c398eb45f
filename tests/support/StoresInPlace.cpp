#include "StoresInPlace.h"

#include "EventStore.h"
#include "ObjectStore.h"

namespace TestSupport {

StoresInPlace::StoresInPlace() {
    CommonServices::ObjectStore::Use(records);
    CommonServices::EventStore::Use(events);
}

StoresInPlace::~StoresInPlace() {
    CommonServices::EventStore::Use(nullptr);
    CommonServices::ObjectStore::Use(nullptr);
}

}  // namespace TestSupport
