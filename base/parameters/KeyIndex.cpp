#include "base/parameters/KeyIndex.h"

#include <bit>
#include <cstring>
#include <random>
#include <utility>

#include "base/parameters/Tree.h"

namespace CoreServices::Tree {

namespace {

constexpr std::size_t kMostSearchedLinearly = 64;

struct SipKey {
    std::uint64_t k0;
    std::uint64_t k1;
};

const SipKey& SecretOfProcess() {
    static const SipKey secret = [] {
        std::random_device random;
        const auto draw = [&random] { return (std::uint64_t{random()} << 32) | random(); };
        return SipKey{draw(), draw()};
    }();
    return secret;
}

/// SipHash-1-3, which withstands chosen input as long as the key is secret.
class SipHasher {
public:
    explicit SipHasher(const SipKey& key) noexcept
        : m_v0(key.k0 ^ 0x736f6d6570736575U),
          m_v1(key.k1 ^ 0x646f72616e646f6dU),
          m_v2(key.k0 ^ 0x6c7967656e657261U),
          m_v3(key.k1 ^ 0x7465646279746573U) {}

    std::uint64_t Hash(std::string_view text) noexcept {
        const std::uint64_t lengthByte = static_cast<std::uint64_t>(text.size()) << 56;
        for (; text.size() >= sizeof(std::uint64_t); text.remove_prefix(sizeof(std::uint64_t)))
            Absorb(Load(text.substr(0, sizeof(std::uint64_t))));
        Absorb(lengthByte | Load(text));
        m_v2 ^= 0xFF;
        Round();
        Round();
        Round();
        return m_v0 ^ m_v1 ^ m_v2 ^ m_v3;
    }

private:
    static std::uint64_t Load(std::string_view upToEight) noexcept {
        std::uint64_t word = 0;
        if (!upToEight.empty())
            std::memcpy(&word, upToEight.data(), upToEight.size());
        return word;
    }

    void Absorb(std::uint64_t word) noexcept {
        m_v3 ^= word;
        Round();
        m_v0 ^= word;
    }

    void Round() noexcept {
        m_v0 += m_v1;
        m_v1 = std::rotl(m_v1, 13) ^ m_v0;
        m_v0 = std::rotl(m_v0, 32);
        m_v2 += m_v3;
        m_v3 = std::rotl(m_v3, 16) ^ m_v2;
        m_v0 += m_v3;
        m_v3 = std::rotl(m_v3, 21) ^ m_v0;
        m_v2 += m_v1;
        m_v1 = std::rotl(m_v1, 17) ^ m_v2;
        m_v2 = std::rotl(m_v2, 32);
    }

    std::uint64_t m_v0, m_v1, m_v2, m_v3;
};

std::uint32_t HashOf(std::string_view key) {
    return static_cast<std::uint32_t>(SipHasher(SecretOfProcess()).Hash(key));
}

}  // namespace

std::size_t KeyIndex::Find(std::string_view key, std::span<const Member> members) const noexcept {
    if (m_slots.empty()) {
        for (std::size_t position = 0; position < members.size(); ++position)
            if (members[position].key.View() == key)
                return position;
        return kNotFound;
    }
    const std::uint32_t hash = HashOf(key);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask; m_slots[at].place != 0; at = (at + 1) & mask) {
        const std::size_t position = m_slots[at].place - 1;
        if (m_slots[at].hash == hash && members[position].key.View() == key)
            return position;
    }
    return kNotFound;
}

void KeyIndex::Appended(std::span<const Member> members) {
    if (members.size() <= kMostSearchedLinearly)
        return;
    if (m_slots.empty())
        return Rebuild(members);
    if (members.size() * 2 > m_slots.size())
        Grow(members.size());
    Insert(HashOf(members.back().key.View()), members.size() - 1);
}

void KeyIndex::Rebuild(std::span<const Member> members) {
    m_slots.clear();
    if (members.size() <= kMostSearchedLinearly)
        return;
    Grow(members.size());
    for (std::size_t position = 0; position < members.size(); ++position)
        Insert(HashOf(members[position].key.View()), position);
}

void KeyIndex::Insert(std::uint32_t hash, std::size_t position) noexcept {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    while (m_slots[at].place != 0)
        at = (at + 1) & mask;
    m_slots[at] = {hash, static_cast<std::uint32_t>(position + 1)};
}

void KeyIndex::Grow(std::size_t members) {
    const std::vector<Slot> old = std::exchange(m_slots, std::vector<Slot>(std::bit_ceil(members * 4)));
    for (const Slot& slot : old)
        if (slot.place != 0)
            Insert(slot.hash, slot.place - 1);
}

}  // namespace CoreServices::Tree
