#pragma once

#include <string>

namespace PlatformAbstraction::Messaging {

/// An entry of the error table that a service registers: a code and the two texts that go with it.
struct ErrorCode {
    std::string code;
    std::string title;
    std::string description;

    /// Whether the codes are equal, byte for byte; the texts play no part.
    bool IsEquivalentErrorCode(const ErrorCode& other) const { return code == other.code; }
};

}  // namespace PlatformAbstraction::Messaging
