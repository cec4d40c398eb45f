#pragma once

#include <string>

namespace Weftline::Services::Scheduler {

/// Writes `text` and a line end to standard output, in one write and at once: lines of different threads may
/// follow each other, but not stand in each other. Any thread may call, also while the process ends.
void PrintLine(std::string text);

}  // namespace Weftline::Services::Scheduler
