#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace PlatformAbstraction::Rest {

/// Takes the chunked form of one body apart while it arrives, in pieces of any size. Strict: lines end in CR
/// LF, a chunk's size is hexadecimal digits. Extensions and trailers have to be well-formed, are read over,
/// and keep to a limit. Belongs to one connection.
class ChunkedBody {
public:
    enum class Progress { Incomplete, Complete, Malformed, TooLarge };

    /// What the extensions of all chunks and the trailers may take together.
    static constexpr std::size_t kMostExtraBytes = 4096;

    explicit ChunkedBody(std::size_t maxBodyBytes) : m_maxBodyBytes(maxBodyBytes) {}

    /// Takes bytes off the front of `input` and appends to `body` what belongs to it. Whatever is left of
    /// `input` after Complete belongs to the next request.
    [[nodiscard]] Progress Read(std::string_view& input, std::string& body);

private:
    enum class Part { SizeLine, Data, DataEnd, Trailer };

    void ReadData(std::string_view& input, std::string& body);
    Progress ReadLine(std::string_view& input, std::size_t bodySize);
    Progress TakeLine(std::string_view line, std::size_t bodySize);
    Progress TakeSizeLine(std::string_view line, std::size_t bodySize);
    Progress TakeTrailerLine(std::string_view line);

    const std::size_t m_maxBodyBytes;
    Part m_part = Part::SizeLine;
    std::string m_line;  // as far as it is here, with its end
    std::uint64_t m_chunkLeft = 0;
    std::size_t m_extraBytes = 0;
};

}  // namespace PlatformAbstraction::Rest
