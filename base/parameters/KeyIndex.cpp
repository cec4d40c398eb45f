#include "base/parameters/KeyIndex.h"

#include <bit>
#include <cstring>
#include <random>

namespace CoreServices::Tree {

namespace {

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

std::size_t HashOf(std::string_view key) {
    return static_cast<std::size_t>(SipHasher(SecretOfProcess()).Hash(key));
}

std::size_t FindOneByOne(std::string_view key, std::span<const Member> members) noexcept {
    if (key.size() <= Value::kInlineCapacity) {
        const Value wanted = Value::OfShort(Kind::Text, key);
        for (std::size_t position = 0; position < members.size(); ++position)
            if (members[position].key.IsSameAs(wanted))
                return position;
        return kKeyNotFound;
    }
    for (std::size_t position = 0; position < members.size(); ++position)
        if (members[position].key.View() == key)
            return position;
    return kKeyNotFound;
}

void Insert(std::span<Slot> slots, std::span<const Member> members, std::size_t position) noexcept {
    const std::size_t mask = slots.size() - 1;
    std::size_t at = HashOf(members[position].key.View()) & mask;
    while (slots[at] != 0)
        at = (at + 1) & mask;
    slots[at] = static_cast<Slot>(position + 1);
}

}  // namespace

std::size_t FindKey(std::string_view key, std::span<const Member> members,
                    std::span<const Slot> slots) noexcept {
    if (slots.empty())
        return FindOneByOne(key, members);
    const std::size_t mask = slots.size() - 1;
    for (std::size_t at = HashOf(key) & mask; slots[at] != 0; at = (at + 1) & mask)
        if (members[slots[at] - 1].key.View() == key)
            return slots[at] - 1;
    return kKeyNotFound;
}

void KeyIndex::Appended(std::span<const Member> members) {
    if (NumSlots(members.size()) != m_slots.size())
        return Rebuild(members);
    if (!m_slots.empty())
        Insert(m_slots, members, members.size() - 1);
}

void KeyIndex::Rebuild(std::span<const Member> members) {
    // The old table goes first: it need not stand beside the new one.
    m_slots = std::vector<Slot>();
    m_slots.resize(NumSlots(members.size()));
    if (m_slots.empty())
        return;
    for (std::size_t position = 0; position < members.size(); ++position)
        Insert(m_slots, members, position);
}

}  // namespace CoreServices::Tree
