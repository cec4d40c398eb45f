#include <chrono>
#include <future>
#include <stop_token>
#include <tuple>

#include "tests/stores/EventLogConformance.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_P(EventLogs, KeepEventsInOrderByTopic) {
    ASSERT_TRUE(Append("1") && AppendTo(topic + "/other", "elsewhere") && Append("2", false) && Append("1"));
    EXPECT_THAT(Texts(0, 100), ElementsAre("1", "2", "1"));
    const auto events = log->Read(topic, 0, 100, {});
    ASSERT_EQ(events.size(), 3U);
    EXPECT_TRUE(0 < events[0].offset && events[0].offset < events[1].offset &&
                events[1].offset < events[2].offset);
    EXPECT_EQ(events[0].record.recordType + events[0].record.recordID, "JobCreatedthe same");
    EXPECT_EQ(events[0].record.recordTopic, topic);
    EXPECT_THAT(Texts(events[0].offset, 1), ElementsAre("2"));
    EXPECT_THAT(Texts(-5, 1), ElementsAre("1"));
    EXPECT_THAT(Texts(events[2].offset, 100, {1ms}), IsEmpty());
    EXPECT_THAT(Texts(events[2].offset + 1000, 100, {1ms}), IsEmpty());
    EXPECT_THAT(Texts(0, 0, {1ms}), IsEmpty());
}

TEST_P(EventLogs, GiveBackWhatTheyTook) {
    Weftline::Record event("Job", -7, topic);
    event.name = "N\xc3\xa4me 'quoted' \"twice\"";
    event.description = std::string("a NUL \0 inside", 14);
    event.recordData = "{\"" + std::string(5000000, 'x') + "\":1}";
    event.SetTags("[ \"a\" ]");
    event.readOnly = event.systemCreated = true;
    ASSERT_TRUE(log->Produce(event, true));
    const auto events = log->Read(topic, 0, 1, {});
    ASSERT_EQ(events.size(), 1U);
    const auto fieldsOf = [](const Weftline::Record& record) {
        return std::tuple(record.recordID, record.recordType, record.recordVersion, record.recordTopic,
                          record.name, record.description, record.recordData, record.recordPublicData,
                          record.tags, record.readOnly, record.systemCreated);
    };
    EXPECT_TRUE(fieldsOf(events[0].record) == fieldsOf(event));  // too long to be shown
}

TEST_P(EventLogs, AnEventEndsTheWaitOfEveryReaderOfItsTopicAndAStopThatOfOne) {
    std::stop_source stop;
    const auto wait = [this, &stop] { return Texts(0, 100, {1h, stop.get_token()}); };
    auto stopped = std::async(std::launch::async, wait);
    stop.request_stop();
    EXPECT_THAT(stopped.get(), IsEmpty());
    stop = std::stop_source();
    auto one = std::async(std::launch::async, wait);
    auto other = std::async(std::launch::async, wait);
    ASSERT_TRUE(AppendTo(topic + "/other", "elsewhere") && Append("here"));
    EXPECT_THAT(one.get(), ElementsAre("here"));
    EXPECT_THAT(other.get(), ElementsAre("here"));
}

TEST_P(EventLogs, AFollowerSeesEachEventOnceWhereverItsPagesEnd) {
    auto follower = std::async(std::launch::async, [this] {
        std::vector<std::string> seen;
        for (std::int64_t offset = 0; seen.size() < 100;) {
            const auto page = log->Read(topic, offset, 7, {1h});
            for (const auto& event : page) {
                seen.push_back(event.record.recordData);
                offset = event.offset;
            }
        }
        return seen;
    });
    std::vector<std::string> sent;
    for (int n = 0; n < 100; ++n) {
        ASSERT_TRUE(Append(sent.emplace_back(std::to_string(n)), n % 10 == 0));
    }
    EXPECT_EQ(follower.get(), sent);
}

}  // namespace
