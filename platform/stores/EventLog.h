#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/log/PlatformLog.h"

namespace CommonServices {

/// An event as it lies in the log. Offsets grow and are never used twice.
struct LoggedEvent {
    std::int64_t offset = 0;
    Weftline::Record record;
};

/// How long a reader waits for an event: at most that long, and not beyond the stop.
struct EventWait {
    std::chrono::milliseconds longest{0};
    std::stop_token stop = {};
};

/// Where events are kept, by topic and in order. `EventStore` is a thin value over the one of the process.
/// Every implementation promises that any thread may call at any time, and that what `Produce` has accepted
/// durably survives the end of the process and of the machine.
class EventLog {
public:
    EventLog() = default;
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;
    virtual ~EventLog() = default;

    /// Appends to the topic `record.recordTopic`. With `durable` it returns once the event is on disk, else
    /// once it is queued. False when the event was not taken.
    virtual bool Produce(const Weftline::Record& record, bool durable) = 0;

    /// As `Produce(record, true)` of one after the other, and faster: for each, whether it was taken. What
    /// that throws counts as not taken.
    virtual std::vector<bool> ProduceAll(std::span<const Weftline::Record* const> records) {
        std::vector<bool> taken(records.size());
        for (std::size_t place = 0; place < records.size(); ++place) {
            try {
                taken[place] = Produce(*records[place], true);
            } catch (const std::exception& fault) {
                PlatformAbstraction::Log::Debug("An event was not taken: " + std::string(fault.what()));
            }
        }
        return taken;
    }

    /// The events of a topic behind `afterOffset` (0: from the first), in order, at most `limit`. Where there
    /// is none yet it waits for one, and gives an empty list when the wait is over.
    virtual std::vector<LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset,
                                          std::size_t limit, const EventWait& wait) = 0;
};

}  // namespace CommonServices
