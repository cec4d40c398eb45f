#include "PrintLine.h"

#include <algorithm>
#include <iostream>

namespace Weftline::Services::Scheduler {

void PrintLine(std::string text) {
    text.push_back('\n');
    std::cout << text << std::flush;
}

std::string Printable(std::string_view text, std::size_t most) {
    static constexpr char kHex[] = "0123456789abcdef";
    const auto byteAt = [text](std::size_t n) { return static_cast<unsigned char>(text[n]); };
    std::size_t end = std::min(text.size(), most);
    while (end > 0 && end < text.size() && (byteAt(end) & 0xC0U) == 0x80U) {
        --end;  // not within a character of UTF-8
    }
    std::string line;
    line.reserve(end);
    for (std::size_t n = 0; n < end; ++n) {
        const unsigned char byte = byteAt(n);
        if (byte < 0x20 || byte == 0x7f) {
            line.append("\\x").append(1, kHex[byte >> 4U]).append(1, kHex[byte & 0xFU]);
        } else {
            line.push_back(text[n]);
        }
    }
    return end < text.size() ? line + "..." : line;
}

}  // namespace Weftline::Services::Scheduler
