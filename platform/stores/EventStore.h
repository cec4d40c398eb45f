#pragma once

#include <memory>

#include "Core/src/wf_Record.h"
#include "base/concurrency/HeldOutput.h"
#include "base/parameters/Parameters.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/StoreChoice.h"

namespace CommonServices {

/// The client of the event stream: a value over the one event log of the process, which the first
/// `EventStore` chooses from the configuration store (`kafka-host` empty: the embedded log, in the file of
/// the records). Any thread may call.
class EventStore {
public:
    /// `parameters` has no keys so far. Throws `ObjectStoreException` when there is no event log to be had.
    explicit EventStore(const CoreServices::Parameters& /*parameters*/) : m_pLog(StoreChoice::Events()) {}

    /// Appends to the topic `record.recordTopic`; with `durable` it returns once the event is on disk. False
    /// on failure.
    bool Produce(const Weftline::Record& record, bool durable) const {
        PlatformAbstraction::HeldOutput::Settle();
        return m_pLog->Produce(record, durable);
    }

private:
    friend class ObjectStore;  // which writes a record and its event together

    std::shared_ptr<EventLog> m_pLog;
};

}  // namespace CommonServices
