#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "base/parameters/Value.h"

namespace CoreServices::Tree {

// Finds keys among the members of one object: one after the other while these are few, through a hash table
// once there are many, so that a body of a million keys is not quadratic. The hash is keyed with a secret of
// the process: nobody can send keys that collide. The table holds positions and no members: every call is
// given the members it was built for.

/// Position + 1; 0 is a free slot. Open addressing, a power of two, at most half full.
using Slot = std::uint32_t;

inline constexpr std::size_t kKeyNotFound = static_cast<std::size_t>(-1);

inline constexpr std::size_t kMostSearchedOneByOne = 64;

/// The size of the table for so many members; 0 while they are few. Below four for each.
constexpr std::size_t NumSlots(std::size_t members) noexcept {
    return members <= kMostSearchedOneByOne ? 0 : std::bit_ceil(members * 2);
}

/// `slots` is the table of these members, or empty: then the search is slow where they are many.
std::size_t FindKey(std::string_view key, std::span<const Member> members,
                    std::span<const Slot> slots) noexcept;

/// A table that follows members which change.
class KeyIndex {
public:
    std::span<const Slot> Slots() const noexcept { return m_slots; }
    void Assign(std::span<const Slot> slots) { m_slots.assign(slots.begin(), slots.end()); }
    // After a `std::bad_alloc` of these the table is empty.
    /// To be called after each member that was appended.
    void Appended(std::span<const Member> members);
    /// To be called after any other change.
    void Rebuild(std::span<const Member> members);

private:
    std::vector<Slot> m_slots;
};

}  // namespace CoreServices::Tree
