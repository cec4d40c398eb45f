#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace CoreServices::Tree {

/// An immutable text in 24 bytes: up to 23 bytes lie inside, a longer one in a block that its copies share.
/// So most keys, numbers and words need no memory of their own, and copying any text never copies a block.
/// Copies may live on different threads.
class Text {
public:
    Text() noexcept = default;
    explicit Text(std::string_view text);
    Text(const Text& other) noexcept : m_inlineSize(other.m_inlineSize) {
        std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
        if (IsShared())
            Retain();
    }
    Text(Text&& other) noexcept : m_inlineSize(other.m_inlineSize) {
        std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
        other.m_inlineSize = 0;
    }
    Text& operator=(const Text& other) noexcept {
        Text copy(other);
        Swap(copy);
        return *this;
    }
    Text& operator=(Text&& other) noexcept {
        Text moved(std::move(other));
        Swap(moved);
        return *this;
    }
    ~Text() {
        if (IsShared())
            Release();
    }

    /// Valid as long as this object, or any copy of a long one, is neither destroyed nor assigned to.
    std::string_view View() const noexcept {
        if (!IsShared())
            return {m_bytes, m_inlineSize};
        const Shared shared = LoadShared();
        return {shared.pChars, shared.size};
    }

    friend bool operator==(const Text& left, const Text& right) noexcept {
        return left.View() == right.View();
    }

private:
    struct Shared {
        const char* pChars;  // follow the block's count
        std::size_t size;
    };
    static constexpr std::size_t kInlineCapacity = 23;
    static constexpr std::uint8_t kSharedMark = 0xFF;

    using Count = std::atomic<std::size_t>;  // at the head of a block

    bool IsShared() const noexcept { return m_inlineSize == kSharedMark; }
    Shared LoadShared() const noexcept {
        Shared shared;
        std::memcpy(&shared, m_bytes, sizeof shared);
        return shared;
    }
    Count* CountOfBlock() const noexcept {
        return std::launder(reinterpret_cast<Count*>(const_cast<char*>(LoadShared().pChars) - sizeof(Count)));
    }
    void Retain() const noexcept { CountOfBlock()->fetch_add(1, std::memory_order_relaxed); }
    void Release() noexcept {
        Count* pCount = CountOfBlock();
        if (pCount->fetch_sub(1, std::memory_order_acq_rel) == 1)
            ::operator delete(pCount);
    }
    void Swap(Text& other) noexcept {
        char bytes[kInlineCapacity];
        std::memcpy(bytes, m_bytes, sizeof bytes);
        std::memcpy(m_bytes, other.m_bytes, sizeof bytes);
        std::memcpy(other.m_bytes, bytes, sizeof bytes);
        std::swap(m_inlineSize, other.m_inlineSize);
    }

    alignas(Shared) char m_bytes[kInlineCapacity] = {};  // the text itself, or a Shared
    std::uint8_t m_inlineSize = 0;                       // or kSharedMark
};

static_assert(sizeof(Text) == 24);

inline Text::Text(std::string_view text) {
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

}  // namespace CoreServices::Tree
