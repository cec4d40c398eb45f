#pragma once

#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>

namespace TestSupport {

/// Takes what is written to a stream, `std::cout` or `std::cerr`, as long as this lives. Other threads may
/// write meanwhile, and must have stopped before it ends. It keeps no put area, so that every write comes
/// through one of the locked operations.
class ConsoleCapture final : std::streambuf {
public:
    explicit ConsoleCapture(std::ostream& stream) : m_stream(stream), m_pFormerBuffer(stream.rdbuf(this)) {}
    ~ConsoleCapture() override { m_stream.rdbuf(m_pFormerBuffer); }

    /// What was written so far.
    std::string Text() const {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }

private:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        const std::lock_guard lock(m_mutex);
        m_text.append(text, static_cast<std::size_t>(count));
        return count;
    }
    int_type overflow(int_type character) override {
        const char text = traits_type::to_char_type(character);
        return xsputn(&text, 1), traits_type::not_eof(character);
    }

    std::ostream& m_stream;
    std::streambuf* const m_pFormerBuffer;
    mutable std::mutex m_mutex;
    std::string m_text;  // guarded by m_mutex
};

}  // namespace TestSupport
