#pragma once

#include <string>

namespace PlatformAbstraction {

/// The decorator that changes nothing.
class PassthroughDecorator {
public:
    std::string Apply(const std::string& text) const { return text; }
};

}  // namespace PlatformAbstraction
