#pragma once

#include <memory>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"

namespace CommonServices {

class EventLog;

/// The client of the event stream: a value over the one event log of the process, which the first
/// `EventStore` chooses from the configuration store (`kafka-host` empty: the embedded log, in the file of
/// the records). Any thread may call.
class EventStore {
public:
    /// `parameters` has no keys so far. Throws `ObjectStoreException` when there is no event log to be had.
    explicit EventStore(const CoreServices::Parameters& parameters);

    /// Puts a log of the caller's in place, for programs that bring their own; an empty pointer takes it
    /// away.
    static void Use(std::shared_ptr<EventLog> log);

    /// Appends to the topic `record.recordTopic`; with `durable` it returns once the event is on disk. False
    /// on failure.
    bool Produce(const Weftline::Record& record, bool durable) const;

private:
    friend class ObjectStore;  // which writes a record and its event together

    std::shared_ptr<EventLog> m_pLog;
};

}  // namespace CommonServices
