#pragma once

#include <iostream>

#include "handlers/admin/DetachedHandler.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using testing::ElementsAre;
using TestSupport::ConsoleCapture;
using TestSupport::Json;
using TestSupport::ScriptedAnswer;

/// Runs the work at once, on the thread of the caller.
inline const ThreadStarter kRunInPlace = [](const std::function<void()>& work) { work(); };

class AdminFixture : public TestSupport::HandlerFixture {
protected:
    /// The answer, and behind " | " what was printed.
    template <class Handler>
    std::string Outcome(Handler&& handler, const std::string& request, const std::string& identity = "") {
        const ConsoleCapture console(std::cout);
        const std::string answer = Answer(handler, request, identity);
        return answer + " | " + console.Text();
    }
};

}  // namespace Weftline::Services::Scheduler
