#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CompositeNotifier.h"
#include "ConsoleCapture.h"
#include "ConsoleNotifier.h"
#include "MakeNotifier.h"
#include "SafeNotifier.h"

namespace PlatformAbstraction {
namespace {

using CoreServices::Parameters;
using testing::ElementsAre;
using TestSupport::ConsoleCapture;

/// Every call, and the line that it makes.
const std::vector<std::pair<std::function<void(IGenericNotifier&)>, std::string>>& AllCalls() {
    static const auto calls = [] {
        Parameters result;
        result.SetParameter("count", 2);
        return std::vector<std::pair<std::function<void(IGenericNotifier&)>, std::string>>{
            {[](auto& to) { to.SendProgress("a"); }, "In progress: a\n"},
            {[](auto& to) { to.SendProgress("b", 40); }, "In progress, 40 percent: b\n"},
            {[](auto& to) { to.SendStart("c"); }, "Started: c\n"},
            {[](auto& to) { to.SendResourceLockFailed("d"); }, "Could not lock a resource: d\n"},
            {[](auto& to) { to.SendBusy("e"); }, "Busy: e\n"},
            {[](auto& to) { to.SendCanceled("f"); }, "Canceled: f\n"},
            {[result](auto& to) { to.SendSucceeded("g", result); }, "Succeeded: g {\"count\":2}\n"},
            {[](auto& to) { to.SendSucceeded("h"); }, "Succeeded: h\n"},
            {[](auto& to) { to.SendFailed("i\nStarted: j"); }, "Failed: i Started: j\n"},
        };
    }();
    return calls;
}

/// Throws from every call, and tells when it is destroyed.
class FailingNotifier final : public IGenericNotifier {
public:
    explicit FailingNotifier(
        std::function<void()> fail, std::function<void()> onEnd = [] {})
        : m_fail(std::move(fail)), m_onEnd(std::move(onEnd)) {}
    FailingNotifier(const FailingNotifier&) = delete;
    FailingNotifier& operator=(const FailingNotifier&) = delete;
    ~FailingNotifier() override { m_onEnd(); }

    using IGenericNotifier::SendProgress;
    void SendProgress(const std::string&, std::int32_t) override { m_fail(); }
    void SendStart(const std::string&) override { m_fail(); }
    void SendResourceLockFailed(const std::string&) override { m_fail(); }
    void SendBusy(const std::string&) override { m_fail(); }
    void SendCanceled(const std::string&) override { m_fail(); }
    void SendSucceeded(const std::string&, const Parameters&) override { m_fail(); }
    void SendSucceeded(const std::string&) override { m_fail(); }
    void SendFailed(const std::string&) override { m_fail(); }

private:
    std::function<void()> m_fail;
    std::function<void()> m_onEnd;
};

TEST(Notifier, TheChainOfMakeNotifierWritesEachCallAsOneLine) {
    const auto notifier = MakeNotifier(nullptr);
    for (const auto& [call, line] : AllCalls()) {
        const ConsoleCapture output(std::cout);
        call(*notifier);
        EXPECT_EQ(output.Text(), line);
    }
}

TEST(Notifier, AFailingNotifierNeitherStopsTheWorkNorKeepsOthersFromBeingTold) {
    const auto failAsException = [] { throw std::runtime_error("nobody listens"); };
    const auto failAsNumber = [] { throw 7; };
    CompositeNotifier composite;
    composite.Add(std::make_unique<ConsoleNotifier>());
    composite.Add(std::make_unique<FailingNotifier>(failAsException));
    composite.Add(std::make_unique<SafeNotifier>(std::make_unique<FailingNotifier>(failAsNumber)));
    composite.Add(std::make_unique<FailingNotifier>(failAsNumber));
    composite.Add(std::make_unique<ConsoleNotifier>("second"));
    for (const auto& [call, line] : AllCalls()) {
        const ConsoleCapture output(std::cout);
        EXPECT_NO_THROW(call(composite)) << line;
        EXPECT_EQ(output.Text(), line + "second " + line);
    }
}

TEST(Notifier, OwnersRefuseNothingToOwnAndDestroyChildrenInOrder) {
    EXPECT_THROW(SafeNotifier(nullptr), std::invalid_argument);
    EXPECT_THROW(CompositeNotifier().Add(nullptr), std::invalid_argument);

    std::vector<int> ended;
    {
        auto composite = std::make_unique<CompositeNotifier>();
        for (const int number : {1, 2, 3}) {
            composite->Add(
                std::make_unique<FailingNotifier>([] {}, [&ended, number] { ended.push_back(number); }));
        }
        const SafeNotifier owner(std::move(composite));
    }
    EXPECT_THAT(ended, ElementsAre(1, 2, 3));
}

}  // namespace
}  // namespace PlatformAbstraction
