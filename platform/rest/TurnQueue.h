#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <unordered_map>
#include <utility>

namespace PlatformAbstraction::Rest {

/// Whom a request counts for, where requests take turns: its caller, or its connection where callers are not
/// told apart.
using CallerKey = std::uint64_t;

/// A queue that is served round robin between callers, and of each caller in the order of arrival: what one
/// of them heaps up delays himself. Not thread-safe.
template <typename Item>
class TurnQueue {
public:
    bool IsEmpty() const { return m_ring.empty(); }

    std::size_t CountOf(CallerKey caller) const {
        const auto found = m_groups.find(caller);
        return found == m_groups.end() ? 0 : found->second->items.size();
    }

    void Add(CallerKey caller, Item item) {
        auto [found, isNew] = m_groups.try_emplace(caller);
        if (isNew) {
            try {
                found->second = m_ring.insert(m_ring.end(), Group{caller, {}});
            } catch (...) {
                m_groups.erase(found);
                throw;
            }
        }
        try {
            found->second->items.push_back(std::move(item));
        } catch (...) {
            DropIfEmpty(found->second);
            throw;
        }
    }

    /// Whose turn it is. The queue must not be empty.
    const Item& Next() const { return m_ring.front().items.front(); }

    /// Moves the next one to the end of `into`; its caller's next turn comes after everybody else's.
    void TakeNext(std::list<Item>& into) noexcept {
        const auto group = m_ring.begin();
        into.splice(into.end(), group->items, group->items.begin());
        m_ring.splice(m_ring.end(), m_ring, group);
        DropIfEmpty(group);
    }

    /// False where it is not there any more.
    bool Remove(CallerKey caller, const Item& item) noexcept {
        const auto found = m_groups.find(caller);
        if (found == m_groups.end() || found->second->items.remove(item) == 0) {
            return false;
        }
        DropIfEmpty(found->second);
        return true;
    }

private:
    struct Group {
        CallerKey caller;
        std::list<Item> items;
    };
    using Ring = std::list<Group>;

    void DropIfEmpty(typename Ring::iterator group) noexcept {
        if (group->items.empty()) {
            m_groups.erase(group->caller);
            m_ring.erase(group);
        }
    }

    Ring m_ring;  // the first one's turn is next; none of them is empty
    std::unordered_map<CallerKey, typename Ring::iterator> m_groups;
};

}  // namespace PlatformAbstraction::Rest
