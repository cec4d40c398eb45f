#include "StoreSuffix.h"

#include <gtest/gtest.h>

namespace Weftline::Services {
namespace {

TEST(StoreSuffix, NamesEveryRealmButTheGlobalOne) {
    EXPECT_EQ(MakeStoreSuffix("test"), "_test_2_3_12");
    EXPECT_EQ(MakeStoreSuffix("global"), "_2_3_12");
    EXPECT_EQ(MakeStoreSuffix("Global"), "_Global_2_3_12");
    EXPECT_EQ(MakeStoreSuffix(""), "__2_3_12");
}

}  // namespace
}  // namespace Weftline::Services
