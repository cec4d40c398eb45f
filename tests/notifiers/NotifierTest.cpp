#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
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

struct NotifierCallCase {
    std::string name;
    std::function<void(IGenericNotifier&)> call;
    std::string line;
};

std::vector<NotifierCallCase> AllCalls() {
    Parameters result;
    result.SetParameter("count", 2);
    return {
        {"progress", [](auto& to) { to.SendProgress("a"); }, "In progress: a\n"},
        {"progress with percent", [](auto& to) { to.SendProgress("b", 40); }, "In progress, 40 percent: b\n"},
        {"start", [](auto& to) { to.SendStart("c"); }, "Started: c\n"},
        {"lock", [](auto& to) { to.SendResourceLockFailed("d"); }, "Could not lock a resource: d\n"},
        {"busy", [](auto& to) { to.SendBusy("e"); }, "Busy: e\n"},
        {"canceled", [](auto& to) { to.SendCanceled("f"); }, "Canceled: f\n"},
        {"result", [result](auto& to) { to.SendSucceeded("g", result); }, "Succeeded: g {\"count\":2}\n"},
        {"succeeded", [](auto& to) { to.SendSucceeded("h"); }, "Succeeded: h\n"},
        {"failed", [](auto& to) { to.SendFailed("i\nStarted: j"); }, "Failed: i Started: j\n"},
    };
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

void FailAsException() {
    throw std::runtime_error("nobody listens");
}
void FailAsNumber() {
    throw 7;
}

TEST(Notifier, TheChainOfMakeNotifierWritesEachCallAsOneLine) {
    const auto notifier = MakeNotifier(nullptr);
    for (const auto& row : AllCalls()) {
        SCOPED_TRACE(row.name);
        const ConsoleCapture output(std::cout);
        row.call(*notifier);
        EXPECT_EQ(output.Text(), row.line);
    }
}

TEST(Notifier, AFailingNotifierNeitherStopsTheWorkNorKeepsOthersFromBeingTold) {
    CompositeNotifier composite;
    composite.Add(std::make_unique<ConsoleNotifier>());
    composite.Add(std::make_unique<FailingNotifier>(FailAsException));
    composite.Add(std::make_unique<SafeNotifier>(std::make_unique<FailingNotifier>(FailAsNumber)));
    composite.Add(std::make_unique<FailingNotifier>(FailAsNumber));
    composite.Add(std::make_unique<ConsoleNotifier>("second"));
    for (const auto& row : AllCalls()) {
        SCOPED_TRACE(row.name);
        const ConsoleCapture output(std::cout);
        EXPECT_NO_THROW(row.call(composite));
        EXPECT_EQ(output.Text(), row.line + "second " + row.line);
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

TEST(Notifier, LinesOfSeveralThreadsDoNotTearEachOther) {
    constexpr int kLines = 500;
    const std::string text(200, 'x');
    const ConsoleCapture output(std::cout);
    {
        std::vector<std::thread> threads;
        for (const std::string prefix : {"one", "two", "three"}) {
            threads.emplace_back([prefix, &text] {
                ConsoleNotifier notifier(prefix);
                for (int line = 0; line < kLines; ++line) {
                    notifier.SendBusy(text);
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
    }
    std::istringstream lines(output.Text());
    int whole = 0;
    for (std::string line; std::getline(lines, line); ++whole) {
        const auto prefix = line.substr(0, line.find(' '));
        ASSERT_TRUE(prefix == "one" || prefix == "two" || prefix == "three") << line;
        ASSERT_EQ(line, prefix + " Busy: " + text);
    }
    EXPECT_EQ(whole, 3 * kLines);
}

}  // namespace
}  // namespace PlatformAbstraction
