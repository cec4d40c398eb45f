#pragma once

#include <iostream>

#include "handlers/admin/ThreadStarter.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {

using AdminFixture = TestSupport::HandlerFixture;
using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using testing::ElementsAre;
using testing::SizeIs;
using TestSupport::ConsoleCapture;
using TestSupport::Json;
using TestSupport::ScriptedAnswer;

/// Runs the work at once, on the thread of the caller.
inline const ThreadStarter kRunInPlace = [](const std::function<void()>& work) { work(); };

}  // namespace Weftline::Services::Scheduler
