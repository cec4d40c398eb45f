#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Core/src/Job.h"
#include "Core/src/JobKinds.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"
#include "tests/bus/BusStories.h"
#include "tests/stores/TempDirectory.h"

namespace TestSupport {

/// What a test says of a job that it submits.
struct JobOrder {
    std::string id;
    std::string kind = std::string(Weftline::SubmitOperations::kTranscode.jobKind);
    std::string creator = {};
    std::string parent = {};
};

/// An embedded store in a directory of the test's own, in the place of the process's store, and a bus.
class FarmFixture : public testing::Test {
protected:
    FarmFixture() { OpenStore(); }
    ~FarmFixture() override {
        bus.reset();  // before the store that its handlers use
        CloseStore();
    }

    void OpenStore() { CommonServices::StoreChoice::OpenEmbedded(directory.File("store.db")); }
    static void CloseStore() {
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
    }

    /// Stores the job and announces it, as a submission does.
    static void Submit(const JobOrder& order) {
        Weftline::DataModel::Job job(order.id);
        job.SetName("Name of " + order.id);
        job.SetJobKind(order.kind);
        job.SetParent(order.parent);
        job.SetPriority(50);
        job.SetCreatedBy("Somebody");
        job.SetCreatedDateTime("2026-11-22T20:06:45.123456");
        job.SetIdentity(CoreServices::Parameters::fromJSON(R"({"identityId":")" + order.creator + "\"}"));
        ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(job.ToRecord()));
        Announce(order.id);
    }
    static void Announce(const std::string& id) {
        ASSERT_TRUE(
            CommonServices::EventStore({}).Produce(Weftline::DataModel::MakeJobCreatedEvent(id, "q"), true));
    }

    static std::optional<Weftline::Record> Find(const std::string& id) {
        return CommonServices::ObjectStore().FindByID(id, std::string(Weftline::Collections::Jobs));
    }
    /// A text of the public data; empty where there is none.
    static std::string Public(const std::string& id, std::string_view key) {
        std::string text;
        CoreServices::Parameters::fromJSON(Find(id).value().recordPublicData).GetParameter(key, text);
        return text;
    }
    /// Writes the state of a job behind the farm's back, and what is given of its private data.
    static void SetState(const std::string& id, std::string_view state,
                         const std::string& privateData = "{}") {
        auto job = Find(id).value();
        auto publicData = CoreServices::Parameters::fromJSON(job.recordPublicData);
        publicData.SetParameter(Weftline::Keys::JobState, state);
        job.recordPublicData = publicData.toJSON();
        job.recordData = privateData;
        ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(job));
    }
    static bool Reaches(const std::string& id, std::string_view state) {
        return Eventually([&] { return Public(id, Weftline::Keys::JobState) == state; });
    }

    /// How the exchange on the bus ends.
    std::string Ask(std::string_view service, std::string_view operation, const std::string& request = "",
                    const std::string& realm = "test") {
        Messaging::ServiceMessageDispatch dispatch(std::string(service), realm, 1, std::string(operation));
        dispatch.parameters = CoreServices::Parameters::fromJSON(request);
        return EndOf(*bus->GetMessaging()->SendRequest(dispatch));
    }

    const TempDirectory directory;
    std::shared_ptr<Messaging::InProcessBus> bus = MakeBus();
};

}  // namespace TestSupport
