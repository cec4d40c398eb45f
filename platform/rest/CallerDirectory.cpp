#include "platform/rest/CallerDirectory.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

#include "Core/src/Vocabulary.h"
#include "platform/rest/HttpText.h"

namespace PlatformAbstraction::Rest {

namespace {

using CoreServices::Parameters;
namespace Keys = Weftline::Keys;

constexpr std::string_view kScheme = "Bearer ";

// The identity stands in both places where handlers look for it.
Parameters ContextOf(const Caller& caller) {
    Parameters identity;
    identity.SetParameter(Keys::IdentityId, caller.identityId);
    identity.SetParameter(Keys::DisplayName, caller.displayName);
    Parameters inner;
    inner.SetChildParameters(Keys::Identity, identity);
    Parameters context;
    context.SetChildParameters(Keys::Context, std::move(inner));
    context.SetChildParameters(Keys::Identity, std::move(identity));
    return context;
}

}  // namespace

std::optional<Sha256Digest> ReadSha256Digest(std::string_view hex) {
    Sha256Digest digest{};
    if (hex.size() != 2 * digest.size()) {
        return std::nullopt;
    }
    for (std::size_t n = 0; n < digest.size(); ++n) {
        const int high = HexDigitValue(hex[2 * n]);
        const int low = HexDigitValue(hex[2 * n + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        digest[n] = static_cast<unsigned char>(high * 16 + low);
    }
    return digest;
}

Sha256Digest Sha256(std::string_view text) {
    Sha256Digest digest{};
    if (EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not to be had from the cryptographic library.");
    }
    return digest;
}

CallerDirectory::CallerDirectory(const std::vector<Caller>& callers) {
    for (const Caller& caller : callers) {
        m_entries.push_back(
            Entry{caller.tokenSha256, {ContextOf(caller), std::hash<std::string>()(caller.identityId)}});
    }
}

std::optional<CallerDirectory::Known> CallerDirectory::Find(
    std::optional<std::string_view> authorization) const {
    if (IsOpen()) {
        return Known();
    }
    if (!authorization || authorization->size() <= kScheme.size() ||
        !EqualsIgnoringCase(authorization->substr(0, kScheme.size()), kScheme)) {
        return std::nullopt;
    }
    const Sha256Digest digest = Sha256(Trimmed(authorization->substr(kScheme.size())));
    const Entry* found = nullptr;
    for (const Entry& entry : m_entries) {
        if (CRYPTO_memcmp(digest.data(), entry.tokenSha256.data(), digest.size()) == 0) {
            found = &entry;
        }
    }
    return found == nullptr ? std::nullopt : std::optional(found->known);
}

}  // namespace PlatformAbstraction::Rest
