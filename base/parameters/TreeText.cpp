#include "base/parameters/TreeText.h"

#include <atomic>
#include <new>

namespace CoreServices::Tree {

namespace {

// A block is this count with the characters right behind it.
using Count = std::atomic<std::size_t>;

Count* CountOf(const char* pChars) noexcept {
    return std::launder(reinterpret_cast<Count*>(const_cast<char*>(pChars) - sizeof(Count)));
}

}  // namespace

Text::Text(std::string_view text) {
    if (text.size() <= kInlineCapacity) {
        if (!text.empty())
            std::memcpy(m_bytes, text.data(), text.size());
        m_inlineSize = static_cast<std::uint8_t>(text.size());
        return;
    }
    char* pBlock = static_cast<char*>(::operator new(sizeof(Count) + text.size()));
    new (pBlock) Count(1);
    std::memcpy(pBlock + sizeof(Count), text.data(), text.size());
    const Shared shared{pBlock + sizeof(Count), text.size()};
    std::memcpy(m_bytes, &shared, sizeof shared);
    m_inlineSize = kSharedMark;
}

void Text::Retain() const noexcept {
    CountOf(LoadShared().pChars)->fetch_add(1, std::memory_order_relaxed);
}

void Text::Release() noexcept {
    Count* pCount = CountOf(LoadShared().pChars);
    if (pCount->fetch_sub(1, std::memory_order_acq_rel) == 1)
        ::operator delete(pCount);
}

}  // namespace CoreServices::Tree
