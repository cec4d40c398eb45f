// The words of a command line.

#include "service/CommandLine.h"

#include <string>
#include <vector>

#include "fuzz/FuzzTarget.h"

namespace Fuzzing {

namespace {

// A word as a careful program writes it into a command line.
std::string Quoted(std::string_view word) {
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char character : word) {
        if (character == '"') {
            quoted.append(backslashes + 1, '\\');
        }
        backslashes = character == '\\' ? backslashes + 1 : 0;
        quoted.push_back(character);
    }
    quoted.append(backslashes, '\\');
    return quoted + '"';
}

}  // namespace

void RunOne(std::string_view input) {
    using Weftline::Services::SplitCommandLine;
    const std::vector<std::string> words = SplitCommandLine(input);
    std::string line;
    for (const std::string& word : words) {
        line += Quoted(word) + ' ';
    }
    Check(SplitCommandLine(line) == words, "words that are quoted again are the same words");
}

}  // namespace Fuzzing
