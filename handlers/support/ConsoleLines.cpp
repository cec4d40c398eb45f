#include "handlers/support/ConsoleLines.h"

#include <algorithm>
#include <iostream>

#include "base/log/PlatformLog.h"
#include "platform/messaging/ServiceMessageResponse.h"

namespace Weftline::Services::Scheduler {

void PrintLine(std::string text) {
    text.push_back('\n');
    std::cout << text << std::flush;
}

std::string Printable(std::string_view text, std::size_t most) {
    std::size_t end = std::min(text.size(), most);
    while (end > 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end;  // not within a character of UTF-8
    }
    const std::string line = PlatformAbstraction::Log::OneLine(text.substr(0, end));
    return end < text.size() ? line + "..." : line;
}

bool RespondErrorAndPrint(PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                          const std::string& code, const std::string& message) {
    PrintLine(message);
    return response.RespondError(code, message);
}

}  // namespace Weftline::Services::Scheduler
