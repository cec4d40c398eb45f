#include "platform/stores/EventStore.h"

#include <utility>

#include "platform/stores/EventLog.h"
#include "platform/stores/StoreChoice.h"

namespace CommonServices {

EventStore::EventStore(const CoreServices::Parameters& /*parameters*/) : m_pLog(StoreChoice::Events()) {}

void EventStore::Use(std::shared_ptr<EventLog> log) {
    StoreChoice::SetEvents(std::move(log));
}

bool EventStore::Produce(const Weftline::Record& record, bool durable) const {
    return m_pLog->Append(record, durable);
}

}  // namespace CommonServices
