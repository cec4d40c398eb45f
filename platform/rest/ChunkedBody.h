#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace PlatformAbstraction::Rest {

/// Takes the chunked form of one body apart while it arrives, in pieces of any size. Strict: lines end in CR
/// LF, a chunk's size is hexadecimal digits alone. Extensions and trailers are read over, within a limit.
/// Belongs to one connection.
class ChunkedBody {
public:
    enum class Progress { Incomplete, Complete, Malformed, TooLarge };

    /// What the extensions of all chunks and the trailers may take together.
    static constexpr std::size_t kMostExtraBytes = 4096;

    explicit ChunkedBody(std::size_t maxBodyBytes) : m_maxBodyBytes(maxBodyBytes) {}

    /// Takes bytes off the front of `input` and appends to `body` what belongs to it. Whatever is left of
    /// `input` after Complete belongs to the next request.
    Progress Read(std::string_view& input, std::string& body);

private:
    enum class State {
        Size,
        Extension,
        SizeLineFeed,
        Data,
        DataReturn,
        DataLineFeed,
        TrailerStart,
        Trailer,
        TrailerLineFeed,
        LastLineFeed,
        Done
    };

    Progress ReadByte(char byte, std::size_t bodySize);
    Progress ReadSizeByte(char byte, std::size_t bodySize);
    Progress Expect(char byte, char expected, State next);
    Progress CountExtra(char byte);

    const std::size_t m_maxBodyBytes;
    State m_state = State::Size;
    std::uint64_t m_chunkLeft = 0;
    std::size_t m_sizeDigits = 0;
    std::size_t m_extraBytes = 0;
};

}  // namespace PlatformAbstraction::Rest
