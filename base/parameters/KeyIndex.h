#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace CoreServices::Tree {

struct Member;

/// Finds keys among the members of one object: one after the other while these are few, through a hash table
/// once there are many, so that a body of a million keys is not quadratic. The hash is keyed with a secret of
/// the process: nobody can send keys that collide. The index holds positions and no members: every call is
/// given the members it was built for.
class KeyIndex {
public:
    static constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

    std::size_t Find(std::string_view key, std::span<const Member> members) const noexcept;
    /// To be called after each member that was appended.
    void Appended(std::span<const Member> members);
    /// To be called after any other change.
    void Rebuild(std::span<const Member> members);

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t place = 0;  // position + 1; 0 is a free slot
    };

    void Insert(std::uint32_t hash, std::size_t position) noexcept;
    void Grow(std::size_t members);

    std::vector<Slot>
        m_slots;  // open addressing, a power of two, at most half full; empty while members are few
};

}  // namespace CoreServices::Tree
