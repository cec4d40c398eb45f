#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/stores/EventLog.h"
#include "tests/stores/TempDirectory.h"

/// A log under test: its name, how one is opened that has nothing in the topic yet, and the topic.
struct EventLogRow {
    std::string name;
    std::function<std::shared_ptr<CommonServices::EventLog>(const TempDirectory&)> open;
    std::function<std::string()> topic = [] { return std::string("V2_WFJobEvents"); };
};

/// What every event log promises; a new implementation instantiates it with a row of its own.
class EventLogs : public testing::TestWithParam<EventLogRow> {
protected:
    bool Append(const std::string& text, bool durable = true) { return AppendTo(topic, text, durable); }
    bool AppendTo(const std::string& where, const std::string& text, bool durable = true) {
        Weftline::Record event("JobCreated", 1, where);
        event.recordID = "the same";  // an event's id is no key
        event.recordData = text;
        return log->Produce(event, durable);
    }
    std::vector<std::string> Texts(std::int64_t offset, std::size_t limit,
                                   const CommonServices::EventWait& wait = {}) {
        std::vector<std::string> texts;
        for (const auto& event : log->Read(topic, offset, limit, wait)) {
            texts.push_back(event.record.recordData);
        }
        return texts;
    }

    const TempDirectory directory;
    const std::string topic = GetParam().topic();
    const std::shared_ptr<CommonServices::EventLog> log = GetParam().open(directory);
};

inline std::string NameOfRow(const testing::TestParamInfo<EventLogRow>& row) {
    return row.param.name;
}
