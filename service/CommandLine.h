#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Weftline::Services {

/// Splits a command line into words by the rules of Windows programs, on every system:
/// - White space ends a word, and a run of it counts once.
/// - A double quote opens or closes a stretch in which white space is part of the word. A stretch left open
///   reaches to the end of the line; an empty one makes an empty word.
/// - Before a double quote each pair of backslashes gives one, and an odd one left over makes the quote a
///   plain character. Elsewhere backslashes stand for themselves.
std::vector<std::string> SplitCommandLine(std::string_view line);

}  // namespace Weftline::Services
