#include "ConsoleCapture.h"

#include <mutex>

namespace TestSupport {

/// Keeps no put area, so that every write comes through one of the locked operations.
class ConsoleCapture::LockedBuffer final : public std::streambuf {
public:
    std::string Text() const {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }

    int CountFlushes() const {
        const std::lock_guard lock(m_mutex);
        return m_flushes;
    }

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        const std::lock_guard lock(m_mutex);
        m_text.append(text, static_cast<std::size_t>(count));
        return count;
    }

    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            const std::lock_guard lock(m_mutex);
            m_text.push_back(traits_type::to_char_type(character));
        }
        return traits_type::not_eof(character);
    }

    int sync() override {
        const std::lock_guard lock(m_mutex);
        ++m_flushes;
        return 0;
    }

private:
    mutable std::mutex m_mutex;
    std::string m_text;  // guarded by m_mutex
    int m_flushes = 0;   // guarded by m_mutex
};

ConsoleCapture::ConsoleCapture(std::ostream& stream)
    : m_stream(stream),
      m_pBuffer(std::make_unique<LockedBuffer>()),
      m_pFormerBuffer(stream.rdbuf(m_pBuffer.get())) {}

ConsoleCapture::~ConsoleCapture() {
    m_stream.rdbuf(m_pFormerBuffer);
}

std::string ConsoleCapture::Text() const {
    return m_pBuffer->Text();
}

int ConsoleCapture::CountFlushes() const {
    return m_pBuffer->CountFlushes();
}

}  // namespace TestSupport
