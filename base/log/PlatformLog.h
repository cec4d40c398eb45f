#pragma once

#include <string>
#include <string_view>

namespace PlatformAbstraction::Log {

// What the platform itself has to say to the operator: one line each on standard error. Standard output
// belongs to the service's own texts. Any thread may call, also while the process ends. Line feeds and other
// control characters in a text are shown as escapes, those of Unicode too, so that no input can forge a line.

/// One of "trace", "debug", "info", "warning", "error", "critical", "off"; any other text means "info" and is
/// reported. Until it is called the level is "info".
void SetLevel(std::string_view level);

void Debug(std::string_view text);
void Info(std::string_view text);
void Warning(std::string_view text);
void Error(std::string_view text);

/// The text with its control characters as \xNN, and those that end lines or turn directions in Unicode as
/// \uNNNN: what such a line shows. For texts that go elsewhere.
std::string OneLine(std::string_view text);

/// The text with each NUL, at which the `what` of an exception would end, as "\x00".
std::string WithoutNul(std::string_view text);

}  // namespace PlatformAbstraction::Log
