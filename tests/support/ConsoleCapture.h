#pragma once

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

namespace TestSupport {

/// Takes what is written to a stream, `std::cout` or `std::cerr`, as long as this lives. Other threads may
/// write meanwhile, and must have stopped before it ends.
class ConsoleCapture {
public:
    explicit ConsoleCapture(std::ostream& stream);
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    /// What was written so far.
    std::string Text() const;
    /// How often the stream was flushed so far.
    int CountFlushes() const;

private:
    class LockedBuffer;
    std::ostream& m_stream;
    const std::unique_ptr<LockedBuffer> m_pBuffer;
    std::streambuf* const m_pFormerBuffer;
};

}  // namespace TestSupport
