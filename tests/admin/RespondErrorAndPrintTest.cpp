#include "RespondErrorAndPrint.h"

#include <gtest/gtest.h>

#include <iostream>

#include "ConsoleCapture.h"
#include "ServiceMessageResponse.h"

namespace Weftline::Services::Scheduler {
namespace {

TEST(RespondErrorAndPrint, TellsTheOperatorAndTheClient) {
    PlatformAbstraction::Messaging::ServiceMessageResponse response;
    const TestSupport::ConsoleCapture console(std::cout);
    EXPECT_TRUE(RespondErrorAndPrint(response, "ERROR_UNKNOWN", "no such kind"));
    EXPECT_EQ(console.Text(), "no such kind\n");
    ASSERT_TRUE(response.GetAnswer());
    EXPECT_EQ(response.GetAnswer()->code, "ERROR_UNKNOWN");
    EXPECT_EQ(response.GetAnswer()->message, "no such kind");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
