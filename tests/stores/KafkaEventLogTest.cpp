// The log on Kafka: the suite of all logs, and what only a broker of its own can show.

#include <librdkafka/rdkafka.h>
#include <librdkafka/rdkafkacpp.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <future>

#include "platform/stores/RecordStore.h"
#include "platform/stores/kafka/EventMessage.h"
#include "tests/stores/EventLogConformance.h"
#include "tests/stores/KafkaBroker.h"

namespace {

using namespace std::chrono_literals;
using CommonServices::KafkaEventLog;
using CommonServices::KafkaSettings;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Texts = std::vector<std::string>;

INSTANTIATE_TEST_SUITE_P(Kafka, EventLogs,
                         testing::Values(EventLogRow{"Kafka",
                                                     [](const TempDirectory&) {
                                                         return std::make_shared<KafkaEventLog>(
                                                             KafkaBroker::Shared()->Settings());
                                                     },
                                                     FreshTopic}),
                         NameOfRow);

Weftline::Record EventOf(const std::string& topic, const std::string& text) {
    Weftline::Record event("JobCreated", 1, topic);
    event.recordData = text;
    return event;
}

Texts Behind(KafkaEventLog& log, const std::string& topic, std::int64_t offset,
             const CommonServices::EventWait& wait = {}) {
    Texts texts;
    for (const auto& event : log.Read(topic, offset, 10000, wait)) {
        texts.push_back(event.record.recordData);
    }
    return texts;
}

/// Another program, which knows Kafka and nothing of ours.
void ProduceAsAStranger(const KafkaSettings& settings, const std::string& topic, const Texts& messages) {
    const std::unique_ptr<RdKafka::Conf> configuration(RdKafka::Conf::create(RdKafka::Conf::CONF_GLOBAL));
    std::string error;
    configuration->set("bootstrap.servers", settings.bootstrapServers, error);
    const std::unique_ptr<RdKafka::Producer> producer(RdKafka::Producer::create(configuration.get(), error));
    for (std::string message : messages) {
        producer->produce(topic, 0, RdKafka::Producer::RK_MSG_COPY, message.data(), message.size(), nullptr,
                          0, 0, nullptr);
    }
    ASSERT_EQ(producer->flush(60000), RdKafka::ERR_NO_ERROR);
}

std::size_t CountOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(KafkaMessages, TravelWithAllTheirFieldsAndOthersAreNone) {
    Weftline::Record record = EventOf(std::string("a\0b", 3), "{\"x\":\"\\u0000\"}");
    record.opaque1 = -5;
    record.opaque2 = std::numeric_limits<std::int64_t>::min();
    record.opaque3 = std::numeric_limits<std::int64_t>::max();
    const std::string message = CommonServices::Kafka::MessageOf(record);
    const auto back = CommonServices::Kafka::RecordOfMessage(message);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(CommonServices::Kafka::MessageOf(*back), message);
    EXPECT_EQ(back->opaque2, record.opaque2);
    EXPECT_EQ(back->recordTopic, record.recordTopic);

    const auto changed = [&](const std::string& part, const std::string& other) {
        return std::string(message).replace(message.find(part), part.size(), other);
    };
    for (const std::string& bad :
         {std::string(), std::string("{}"), std::string("[1]"), std::string("\xff\0", 2), message + "x",
          changed(R"("layout":1)", R"("layout":2)"), changed(R"("recordID")", R"("other")"),
          changed(R"("readOnly":false)", R"("readOnly":0)"), changed(R"("opaque1":-5)", R"("opaque1":5e9)"),
          changed(R"("opaque3":"9)", R"("opaque3":"99)"), changed(R"("opaque2":")", R"("opaque2":"x)")}) {
        EXPECT_FALSE(CommonServices::Kafka::RecordOfMessage(bad).has_value()) << bad;
    }
}

TEST(KafkaMessages, NoTwoTopicsHaveOneName) {
    const std::pair<std::string, std::string> rows[] = {
        {"V2_WFJobEvents", "V2_WFJobEvents"}, {"", "-"},         {"-", "-2D"}, {".", "-2E"}, {"..", "-2E-2E"},
        {"a/\xc3\xa4", "a-2F-C3-A4"},         {"a-2F", "a-2D2F"}};
    for (const auto& [topic, name] : rows) {
        EXPECT_EQ(CommonServices::Kafka::TopicName(topic), name);
    }
    EXPECT_EQ(CommonServices::Kafka::TopicName(std::string(249, 'x')), std::string(249, 'x'));
    EXPECT_FALSE(CommonServices::Kafka::TopicName(std::string(247, 'x') + ".").has_value());
}

TEST(KafkaSettings, ThatCannotBeMeantAreRefused) {
    const std::pair<const char*, void (*)(KafkaSettings&)> rows[] = {
        {"No Kafka server is named", [](KafkaSettings& s) { s.bootstrapServers.clear(); }},
        {"in sync", [](KafkaSettings& s) { s.minInSyncReplicas = 2; }},
        {"not \"SCRAM-SHA-256\"", [](KafkaSettings& s) { s.saslMechanism = "SCRAM-SHA-256"; }},
        {"use it with TLS", [](KafkaSettings& s) { s.saslMechanism = "PLAIN"; }},
        {"\"/nowhere/p\"",
         [](KafkaSettings& s) {
             s.tls = true;
             s.saslMechanism = "PLAIN";
             s.passwordFile = "/nowhere/p";
         }},
        {"ssl.ca.location", [](KafkaSettings& s) {
             s.tls = true;
             s.caFile = "/nowhere/ca";
         }}};
    for (const auto& [text, change] : rows) {
        SCOPED_TRACE(text);
        KafkaSettings settings;
        settings.bootstrapServers = "127.0.0.1:1";
        change(settings);
        try {
            KafkaEventLog log(settings);
            ADD_FAILURE() << "taken";
        } catch (const CommonServices::ObjectStoreException& refused) {
            EXPECT_THAT(refused.what(), HasSubstr(text));
        }
    }
}

/// With the broker, and a topic of the test's own.
class KafkaLog : public testing::Test {
protected:
    KafkaBroker& broker = *KafkaBroker::Shared();
    KafkaSettings settings = broker.Settings();
    const std::string topic = FreshTopic();
    const std::string name = CommonServices::Kafka::TopicName(topic).value();

    void DeleteBefore(std::int64_t offset) const {
        const std::unique_ptr<RdKafka::Conf> configuration(RdKafka::Conf::create(RdKafka::Conf::CONF_GLOBAL));
        std::string error;
        configuration->set("bootstrap.servers", settings.bootstrapServers, error);
        const std::unique_ptr<RdKafka::Producer> client(
            RdKafka::Producer::create(configuration.get(), error));
        auto* const offsets = rd_kafka_topic_partition_list_new(1);
        rd_kafka_topic_partition_list_add(offsets, name.c_str(), 0)->offset = offset;
        auto* request = rd_kafka_DeleteRecords_new(offsets);
        auto* const queue = rd_kafka_queue_new(client->c_ptr());
        rd_kafka_DeleteRecords(client->c_ptr(), &request, 1, nullptr, queue);
        auto* const answer = rd_kafka_queue_poll(queue, 60000);
        EXPECT_EQ(rd_kafka_event_error(answer), RD_KAFKA_RESP_ERR_NO_ERROR);
        rd_kafka_event_destroy(answer);
        rd_kafka_queue_destroy(queue);
        rd_kafka_DeleteRecords_destroy(request);
        rd_kafka_topic_partition_list_destroy(offsets);
    }
};

TEST_F(KafkaLog, KeepsToTopicsOfOnePartitionAndSkipsWhatIsNoEvent) {
    // The broker would make topics with three partitions.
    ProduceAsAStranger(settings, name, {"theirs"});
    settings.topics = {topic};
    EXPECT_THROW(KafkaEventLog{settings}, CommonServices::ObjectStoreException);
    settings.topics = {};
    KafkaEventLog log(settings);
    EXPECT_FALSE(log.Produce(EventOf(topic, "x"), true) || log.Produce(EventOf(topic, "x"), false));
    EXPECT_THAT(Behind(log, topic, 0, {1ms}), IsEmpty());
    EXPECT_FALSE(log.Produce(EventOf(std::string(250, 'x'), "x"), true));

    const std::string ours = FreshTopic();
    ASSERT_TRUE(log.Produce(EventOf(ours, "1"), true));
    const std::string event = CommonServices::Kafka::MessageOf(EventOf(ours, "2"));
    testing::internal::CaptureStderr();
    ProduceAsAStranger(settings, CommonServices::Kafka::TopicName(ours).value(), {"", "no event", event});
    ASSERT_TRUE(log.Produce(EventOf(ours, "3"), true));
    EXPECT_THAT(Behind(log, ours, 0), ElementsAre("1", "2", "3"));
    EXPECT_THAT(Behind(log, ours, 1), ElementsAre("2", "3"));
    EXPECT_EQ(CountOf("are no events", testing::internal::GetCapturedStderr()), 1U);
}

TEST_F(KafkaLog, GoesOnWithWhatIsLeftWhereOldEventsWereDeleted) {
    KafkaEventLog log(settings);
    for (const std::string text : {"1", "2", "3"}) {
        ASSERT_TRUE(log.Produce(EventOf(topic, text), true));
    }
    DeleteBefore(2);  // Kafka's offset of "3"
    EXPECT_THAT(Behind(log, topic, 0), ElementsAre("3"));
    EXPECT_THAT(Behind(log, topic, 1), ElementsAre("3"));
    EXPECT_THAT(Behind(log, topic, 2), ElementsAre("3"));
}

TEST_F(KafkaLog, TellsTheClusterByTlsWhoItIsAndNobodyThePassword) {
    settings = broker.SecureSettings();
    testing::internal::CaptureStderr();
    {
        KafkaEventLog log(settings);
        ASSERT_TRUE(log.Produce(EventOf(topic, "x"), true));
        EXPECT_THAT(Behind(log, topic, 0), ElementsAre("x"));
    }
    const TempDirectory directory;
    settings.passwordFile = directory.File("password");
    std::ofstream(settings.passwordFile) << "not " << broker.Password() << "\n";
    settings.timeout = 3s;
    KafkaEventLog stranger(settings);
    EXPECT_FALSE(stranger.Produce(EventOf(topic, "y"), true));
    EXPECT_THAT(Behind(stranger, topic, 0), IsEmpty());
    const std::string logged = testing::internal::GetCapturedStderr();
    EXPECT_THAT(logged, HasSubstr("uthentication"));
    EXPECT_THAT(logged, Not(HasSubstr(broker.Password())));
}

TEST_F(KafkaLog, HasEachEventOnceAndInOrderThoughTheBrokerIsKilled) {
    settings.timeout = 2min;
    KafkaEventLog log(settings);
    std::promise<void> halfWay;
    auto isAllTaken = std::async(std::launch::async, [&] {
        bool isTaken = true;
        for (int n = 0; n < 400; ++n) {
            isTaken = log.Produce(EventOf(topic, std::to_string(n)), n % 5 != 1) && isTaken;
            if (n == 200) {
                halfWay.set_value();
            }
        }
        return isTaken;
    });
    auto seen = std::async(std::launch::async, [&] {
        Texts texts;
        while (texts.size() < 400) {
            const auto more = Behind(log, topic, static_cast<std::int64_t>(texts.size()), {1s});
            texts.insert(texts.end(), more.begin(), more.end());
        }
        return texts;
    });
    halfWay.get_future().wait();
    broker.Kill();
    broker.Start();
    EXPECT_TRUE(isAllTaken.get());
    Texts all;
    for (int n = 0; n < 400; ++n) {
        all.push_back(std::to_string(n));
    }
    EXPECT_EQ(seen.get(), all);
    EXPECT_EQ(Behind(log, topic, 0), all);
}

TEST_F(KafkaLog, ABrokerThatStandsStillIsGivenUpAndFoundAgain) {
    settings.timeout = 1s;
    settings.maxQueuedEvents = 3;
    KafkaEventLog log(settings);
    while (!log.Produce(EventOf(topic, "before"), true)) {
    }
    const auto before = Behind(log, topic, 0, {1min});
    testing::internal::CaptureStderr();
    broker.Send(SIGSTOP);
    EXPECT_FALSE(log.Produce(EventOf(topic, "lost?"), true) || log.Produce(EventOf(topic, "lost?"), true));
    EXPECT_THAT(Behind(log, topic, static_cast<std::int64_t>(before.size()), {1ms}), IsEmpty());
    EXPECT_FALSE(log.Produce(EventOf(topic + "new", "x"), true));
    EXPECT_FALSE(log.Produce(EventOf(topic + "new", "x"), false));
    int taken = 0;
    while (log.Produce(EventOf(topic, "lost?"), false)) {
        ++taken;
    }
    EXPECT_LE(taken, 3);
    broker.Send(SIGCONT);
    while (!log.Produce(EventOf(topic, "after"), true)) {
    }
    const std::string logged = testing::internal::GetCapturedStderr();
    EXPECT_EQ(CountOf(name + " do not reach Kafka: ", logged), 1U) << logged;
    EXPECT_EQ(CountOf("No longer so: Events of the topic " + name + " do not reach Kafka", logged), 1U)
        << logged;
    const auto texts = Behind(log, topic, 0, {1min});
    EXPECT_THAT(texts, testing::Contains("before"));
    EXPECT_EQ(texts.back(), "after");
    EXPECT_GE(texts.size(), before.size() + 1);
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (KafkaBroker::Shared() == nullptr) {
        if (std::getenv("CI") != nullptr) {
            std::puts("FAILED: CI wants the Kafka broker, and it did not start");
            return 1;
        }
        std::puts(
            "SKIPPED: the Kafka broker is not here (scripts/kafka.sh fetch), so all tests with it are left "
            "out");
        testing::GTEST_FLAG(filter) = "KafkaMessages.*:KafkaSettings.*";
    }
    return RUN_ALL_TESTS();
}
