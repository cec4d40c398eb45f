#include "service/CommandLine.h"

#include <cstddef>
#include <utility>

namespace Weftline::Services {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

bool IsWhiteSpace(char character) {
    return kWhiteSpace.find(character) != std::string_view::npos;
}

/// Reads one word at a time.
class WordReader {
public:
    explicit WordReader(std::string_view line) : m_rest(line) {}

    bool SkipToWord() {
        const auto start = m_rest.find_first_not_of(kWhiteSpace);
        m_rest.remove_prefix(start == std::string_view::npos ? m_rest.size() : start);
        return !m_rest.empty();
    }

    std::string ReadWord() {
        std::string word;
        bool quoted = false;
        while (!m_rest.empty() && (quoted || !IsWhiteSpace(m_rest.front()))) {
            if (m_rest.front() == '\\') {
                ReadBackslashes(word);
            } else if (m_rest.front() == '"') {
                quoted = !quoted;
                m_rest.remove_prefix(1);
            } else {
                word.push_back(m_rest.front());
                m_rest.remove_prefix(1);
            }
        }
        return word;
    }

private:
    // Takes a run of backslashes, and the quote behind it where the last of them makes it a plain character.
    void ReadBackslashes(std::string& word) {
        const auto end = m_rest.find_first_not_of('\\');
        const std::size_t count = end == std::string_view::npos ? m_rest.size() : end;
        m_rest.remove_prefix(count);
        if (m_rest.empty() || m_rest.front() != '"') {
            word.append(count, '\\');
            return;
        }
        word.append(count / 2, '\\');
        if (count % 2 == 1) {
            word.push_back('"');
            m_rest.remove_prefix(1);
        }
    }

    std::string_view m_rest;
};

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
    std::vector<std::string> words;
    WordReader reader(line);
    while (reader.SkipToWord()) {
        words.push_back(reader.ReadWord());
    }
    return words;
}

}  // namespace Weftline::Services
