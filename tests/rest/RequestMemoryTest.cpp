#include "platform/rest/RequestMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace PlatformAbstraction::Rest {
namespace {

using Use = RequestMemory::Use;
using Share = RequestMemory::Share;

constexpr std::size_t kMostBody = 1048576;

TEST(RequestMemoryTest, KeepsRoomForTheWorstTreeBesideBodiesAndForSmallRequestsBesideAll) {
    for (const std::size_t most : {std::size_t{1}, std::size_t{40'000}, kMostBody, std::size_t{1} << 30U}) {
        const MemoryPlan plan(MemoryPlan::LeastBudget(most), most);
        EXPECT_GE(plan.largeBodies, most);
        EXPECT_LE(plan.largeBodies + WorstTreeOf(most) + plan.smallReserve, plan.budget);
        EXPECT_LT(MemoryPlan(plan.budget - plan.budget / 10, most).largeBodies, most);
        const auto memory = std::make_shared<RequestMemory>(plan);
        const Share bodies = memory->TryReserve(Use::LargeBody, plan.largeBodies);
        const Share tree = memory->TryReserve(Use::LargeTree, WorstTreeOf(most));
        Share small = memory->TryReserve(Use::SmallBody, plan.smallBodies);
        EXPECT_TRUE(bodies && tree && small);
        EXPECT_FALSE(memory->TryReserve(Use::LargeBody, 1024));
        EXPECT_TRUE(memory->TryReserve(Use::SmallTree, plan.smallReserve / 2 - 1024));
        small.BecomeAnswer(plan.budget);  // is not refused, and until it is taken only small ones find room
        EXPECT_TRUE(memory->TryReserve(Use::SmallTree, plan.smallReserve / 2 - 1024));
        EXPECT_FALSE(memory->TryReserve(Use::SmallTree, plan.smallReserve + 1024));
        EXPECT_FALSE(memory->TryReserve(Use::LargeAnswer, 1) || memory->TryReserve(Use::LargeTree, 1));
    }
}

TEST(RequestMemoryTest, ServesWhoWaitsInTurnBetweenCallers) {
    const MemoryPlan plan(MemoryPlan::LeastBudget(kMostBody), kMostBody);
    const auto memory = std::make_shared<RequestMemory>(plan);
    std::string served;
    std::deque<Share> shares;
    const auto wait = [&](char name, CallerKey caller) {
        return memory->Queue(Use::LargeBody, caller, plan.largeBodies / 2, [&, name](Share share) {
            served += share ? name : '-';
            shares.push_back(std::move(share));
        });
    };
    shares.push_back(memory->TryReserve(Use::LargeBody, plan.largeBodies));
    std::deque<RequestMemory::Place> places;
    for (const auto& [name, caller] : {std::pair('a', 1), {'b', 1}, {'c', 1}, {'d', 2}, {'e', 3}}) {
        places.push_back(wait(name, static_cast<CallerKey>(caller)));
    }
    shares.front().Shrink(plan.largeBodies / 2 - 1024);
    EXPECT_EQ(served, "a");
    EXPECT_FALSE(memory->TryReserve(Use::LargeBody, 1));  // those who wait come first
    places[4].Leave();
    shares.pop_front();
    EXPECT_EQ(served, "ad");
    for (std::size_t n = 2; n < RequestMemory::kMostWaitingOfCaller; ++n) {
        places.push_back(wait('f', 1));
    }
    EXPECT_FALSE(wait('g', 1));
    memory->Close();
    EXPECT_EQ(served.substr(0, 4), "ad--");
    shares.clear();
    EXPECT_EQ(memory->InUse(), 0U);
}

TEST(RequestMemoryTest, IsNeverExceededByThreadsThatAllGetTheirTurn) {
    const MemoryPlan plan(MemoryPlan::LeastBudget(kMostBody), kMostBody);
    const auto memory = std::make_shared<RequestMemory>(plan);
    const auto work = [&](CallerKey caller) {
        std::size_t worst = 0;
        for (std::size_t n = 0; n < 2000; ++n) {
            const std::size_t size = (n * 7919 + caller * 104'729) % kMostBody;
            Share body = memory->Reserve(n % 2 == 0 ? Use::LargeBody : Use::SmallBody, caller,
                                         n % 2 == 0 ? size : size / 16);
            Share tree = memory->Reserve(n % 2 == 0 ? Use::LargeTree : Use::SmallTree, caller,
                                         n % 2 == 0 ? 40 * size : size);
            std::this_thread::yield();
            body.Release();
            worst = std::max(worst, memory->InUse());
        }
        return worst;
    };
    std::vector<std::future<std::size_t>> threads;
    for (CallerKey caller = 1; caller <= 4; ++caller) {
        threads.push_back(std::async(std::launch::async, work, caller));
    }
    for (auto& thread : threads) {
        EXPECT_LE(thread.get(), plan.budget + 1024);
    }
    EXPECT_EQ(memory->InUse(), 0U);
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
