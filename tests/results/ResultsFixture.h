#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "FakeBusMessaging.h"
#include "Parameters.h"
#include "ServiceMessageHandler.h"
#include "ServiceMessageHandlerV2.h"
#include "StoresInPlace.h"

namespace Weftline::Services::Scheduler {

/// Fake stores and a fake bus; answers come as one line of text.
class ResultsFixture : public testing::Test {
protected:
    /// Stores a record under "id-0", "id-1", ...; `publicJson` is where it refers to others.
    void Store(const std::string& collection, const std::string& type, const std::string& data,
               const std::string& publicJson = "{}", std::int32_t version = 1);
    /// A result of the query "q".
    void StoreResult(const std::string& collection, const std::string& type, const std::string& data);

    /// "OK " and the tree, "TEXT " and the text, or "<code>: <message> <details>".
    std::string Answer(PlatformAbstraction::Messaging::ServiceMessageHandler& handler,
                       const std::string& requestJson);
    /// The tree, or "thrown: " and the text of the exception.
    std::string Answer(PlatformAbstraction::Messaging::ServiceMessageHandlerV2& handler,
                       const std::string& requestJson);

    std::size_t CountStored() const { return stores.records->Records().size(); }

    TestSupport::StoresInPlace stores;
    std::shared_ptr<TestSupport::FakeBusMessaging> bus = std::make_shared<TestSupport::FakeBusMessaging>();

private:
    int m_nextId = 0;
};

}  // namespace Weftline::Services::Scheduler
