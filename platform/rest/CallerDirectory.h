#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/rest/TurnQueue.h"

namespace PlatformAbstraction::Rest {

using Sha256Digest = std::array<unsigned char, 32>;

/// Someone who may call. Of the token only its SHA-256 is known here.
struct Caller {
    Sha256Digest tokenSha256{};
    std::string identityId;
    std::string displayName;
};

/// Empty unless the text is 64 hexadecimal digits.
std::optional<Sha256Digest> ReadSha256Digest(std::string_view hex);
Sha256Digest Sha256(std::string_view text);

/// Tells callers by their bearer tokens. Constant once built, so any thread may ask.
class CallerDirectory {
public:
    explicit CallerDirectory(const std::vector<Caller>& callers);

    /// Without callers everybody is let in, anonymously.
    bool IsOpen() const { return m_entries.empty(); }

    struct Known {
        CoreServices::Parameters context;  ///< the context tree of his messages
        CallerKey key = 0;                 ///< of his identity; 0 for everybody who is let in anonymously
    };
    /// The caller whose token the value of the header `Authorization` holds; empty where it is nobody's. The
    /// time it takes does not tell how near a wrong token was, for it is compared as a digest, in constant
    /// time and with all of them.
    std::optional<Known> Find(std::optional<std::string_view> authorization) const;

private:
    struct Entry {
        Sha256Digest tokenSha256;
        Known known;
    };
    std::vector<Entry> m_entries;
};

}  // namespace PlatformAbstraction::Rest
