#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Weftline::Services::Scheduler {

/// Writes `text` and a line end to standard output, in one write and at once: lines of different threads may
/// follow each other, but not stand in each other. Any thread may call, also while the process ends.
void PrintLine(std::string text);

/// The text with its control characters as \xNN, so that what a client sent can neither end a line nor begin
/// one of its own. Of a text of more than `most` bytes the beginning, in whole characters, and "...".
std::string Printable(std::string_view text, std::size_t most = std::string_view::npos);

}  // namespace Weftline::Services::Scheduler
