#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/notifiers/Notifiers.h"
#include "tests/support/ConsoleCapture.h"

namespace PlatformAbstraction {
namespace {

using CoreServices::Parameters;
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

/// Throws from every call.
class FailingNotifier final : public IGenericNotifier {
public:
    explicit FailingNotifier(std::function<void()> fail) : m_fail(std::move(fail)) {}

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

}  // namespace
}  // namespace PlatformAbstraction
