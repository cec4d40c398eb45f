#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "FakeBusMessaging.h"
#include "StoresInPlace.h"
#include "SubmitJobHandler.h"

namespace Weftline::Services {

/// An operation without a word of its own, to see what the flow does alone.
class PlainOperation final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override { return {}; }
};

/// A job as it lies in the store, opened.
struct StoredJob {
    Weftline::Record record;
    CoreServices::Parameters privateData;
    CoreServices::Parameters publicData;

    CoreServices::Parameters Tree(std::string_view key) const;  ///< one of the JSON texts of the private data
};

/// Fake stores, a fake bus and an operation on them. The job's directory is "/jobs/" and the client key where
/// the request says nothing else.
class SubmitFixture : public testing::Test {
protected:
    /// The client key.
    std::string Submit(SubmitJobHandler& handler, const std::string& requestJson, bool failJobDefault = true);
    std::string Submit(const std::string& requestJson) { return Submit(plain, requestJson); }
    /// The only job in the store.
    StoredJob OnlyJob() const;

    TestSupport::StoresInPlace stores;
    std::shared_ptr<TestSupport::FakeBusMessaging> bus = std::make_shared<TestSupport::FakeBusMessaging>();
    std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> connection;
    PlainOperation plain{connection};
};

/// A tree from JSON, for tables.
CoreServices::Parameters Json(const std::string& text);

/// The text of what `call` throws; "nothing" where it does not throw.
template <typename Exception, typename Call>
std::string TextOf(Call call) {
    try {
        call();
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "nothing";
}

}  // namespace Weftline::Services
