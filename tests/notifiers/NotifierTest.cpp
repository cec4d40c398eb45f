#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <stdexcept>

#include "platform/notifiers/Notifiers.h"
#include "tests/support/ConsoleCapture.h"

namespace PlatformAbstraction {
namespace {

/// Throws from every call.
class FailingNotifier final : public PassingNotifier {
public:
    explicit FailingNotifier(std::function<void()> fail) : m_fail(std::move(fail)) {}

private:
    void Pass(const Call& /*call*/) const override { m_fail(); }

    const std::function<void()> m_fail;
};

TEST(Notifier, EachCallIsOneLineFromEveryNotifierThatDoesNotFail) {
    const auto results = CoreServices::Parameters::fromJSON(R"({"count":2})");
    const std::pair<std::function<void(IGenericNotifier&)>, std::string> rows[] = {
        {[](auto& to) { to.SendProgress("a"); }, "In progress: a\n"},
        {[](auto& to) { to.SendProgress("b", 40); }, "In progress, 40 percent: b\n"},
        {[](auto& to) { to.SendStart("c"); }, "Started: c\n"},
        {[](auto& to) { to.SendResourceLockFailed("d"); }, "Could not lock a resource: d\n"},
        {[](auto& to) { to.SendBusy("e"); }, "Busy: e\n"},
        {[](auto& to) { to.SendCanceled("f"); }, "Canceled: f\n"},
        {[&](auto& to) { to.SendSucceeded("g", results); }, "Succeeded: g {\"count\":2}\n"},
        {[](auto& to) { to.SendSucceeded("h"); }, "Succeeded: h\n"},
        {[](auto& to) { to.SendFailed("i\nStarted: j"); }, "Failed: i Started: j\n"}};
    CompositeNotifier composite;
    composite.Add(MakeNotifier(nullptr));
    composite.Add(std::make_unique<FailingNotifier>([] { throw std::runtime_error("nobody listens"); }));
    composite.Add(std::make_unique<SafeNotifier>(std::make_unique<FailingNotifier>([] { throw 7; })));
    composite.Add(std::make_unique<ConsoleNotifier>("second"));
    for (const auto& [call, line] : rows) {
        const TestSupport::ConsoleCapture output(std::cout);
        EXPECT_NO_THROW(call(composite)) << line;
        EXPECT_EQ(output.Text(), line + "second " + line);
    }
}

}  // namespace
}  // namespace PlatformAbstraction
