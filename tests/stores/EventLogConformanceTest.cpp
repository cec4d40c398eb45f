// What every event log promises.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "StoreSubjects.h"

namespace {

using namespace std::chrono_literals;
using CommonServices::LoggedEvent;
using testing::IsEmpty;
using Weftline::Record;

const std::string kTopic = "V2_WFJobEvents";

class EventLogConformance : public testing::TestWithParam<StoreFactory> {
protected:
    Record Event(const std::string& text, const std::string& topic = kTopic) {
        Record event("JobCreated", 1, topic);
        event.recordData = text;
        return event;
    }

    static std::vector<std::string> TextsOf(const std::vector<LoggedEvent>& events) {
        std::vector<std::string> texts;
        texts.reserve(events.size());
        for (const LoggedEvent& event : events) {
            texts.push_back(event.record.recordData);
        }
        return texts;
    }

    const StoreSubject subject = GetParam().make();
    CommonServices::EventLog& log = *subject.events;
};

TEST_P(EventLogConformance, KeepsEventsInOrderByTopic) {
    const Record first = Event("1");
    ASSERT_TRUE(log.Append(first, true));
    ASSERT_TRUE(log.Append(Event("elsewhere", "other"), true));
    ASSERT_TRUE(log.Append(Event("2"), false));
    ASSERT_TRUE(log.Append(first, true));  // an event's id is no key: the same may come twice

    const auto events = log.Read(kTopic, 0, 100, 0ms);
    EXPECT_EQ(TextsOf(events), (std::vector<std::string>{"1", "2", "1"}));
    EXPECT_GT(events.front().offset, 0);
    EXPECT_LT(events[0].offset, events[1].offset);
    EXPECT_LT(events[1].offset, events[2].offset);
    EXPECT_EQ(events[0].record.recordID, first.recordID);
    EXPECT_EQ(events[0].record.recordType, "JobCreated");

    EXPECT_EQ(TextsOf(log.Read(kTopic, events[0].offset, 1, 0ms)), std::vector<std::string>{"2"});
    EXPECT_THAT(log.Read(kTopic, events[2].offset, 100, 0ms), IsEmpty());
    EXPECT_THAT(log.Read(kTopic, 0, 0, 1ms), IsEmpty());
    EXPECT_THAT(log.Read("nothing", 0, 100, 1ms), IsEmpty());
}

TEST_P(EventLogConformance, AnEventEndsTheWaitOfEveryReaderOfItsTopic) {
    const auto wait = [this] { return TextsOf(log.Read(kTopic, 0, 100, 1h)); };
    auto one = std::async(std::launch::async, wait);
    auto other = std::async(std::launch::async, wait);
    ASSERT_TRUE(log.Append(Event("elsewhere", "other"), true));
    ASSERT_TRUE(log.Append(Event("here"), true));
    EXPECT_EQ(one.get(), std::vector<std::string>{"here"});
    EXPECT_EQ(other.get(), std::vector<std::string>{"here"});
}

TEST_P(EventLogConformance, NoEventIsMissedByAReaderThatFollows) {
    constexpr int kThreads = 8;
    constexpr int kEach = 25;
    std::vector<std::thread> writers;
    writers.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        writers.emplace_back([this, thread] {
            for (int n = 0; n < kEach; ++n) {
                log.Append(Event(std::to_string(thread)), n % 2 == 0);
            }
        });
    }
    std::int64_t offset = 0;
    std::size_t seen = 0;
    while (seen < std::size_t{kThreads} * kEach) {
        const auto events = log.Read(kTopic, offset, 7, 60s);
        ASSERT_FALSE(events.empty());
        for (const LoggedEvent& event : events) {
            ASSERT_GT(event.offset, offset);
            offset = event.offset;
        }
        seen += events.size();
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_THAT(log.Read(kTopic, offset, 7, 0ms), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, EventLogConformance, testing::ValuesIn(StoreFactories()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
