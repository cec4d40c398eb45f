#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace PlatformAbstraction::Messaging {
class ServiceMessageResponse;
}  // namespace PlatformAbstraction::Messaging

namespace Weftline::Services::Scheduler {

// What the operator reads on standard output. Any thread may call.

/// Writes `text` and a line end, in one write and at once: lines of different threads may follow each other,
/// but not stand in each other. Safe also while the process ends.
void PrintLine(std::string text);

/// The text with its control characters as \xNN, so that what a client sent can neither end a line nor begin
/// one of its own. Of a text of more than `most` bytes the beginning, in whole characters, and "...".
std::string Printable(std::string_view text, std::size_t most = std::string_view::npos);

/// Answers with an error that the operator sees too: `message` becomes a line of its own before the answer
/// goes out. Gives what `RespondError` gives. `response` is the caller's.
bool RespondErrorAndPrint(PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                          const std::string& code, const std::string& message);

}  // namespace Weftline::Services::Scheduler
