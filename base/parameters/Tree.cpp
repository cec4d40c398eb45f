#include "base/parameters/Tree.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <new>
#include <system_error>

namespace CoreServices::Tree {

namespace {

// A block is this count with the characters right behind it.
using Count = std::atomic<std::size_t>;

Count* CountOf(const char* pChars) noexcept {
    return std::launder(reinterpret_cast<Count*>(const_cast<char*>(pChars) - sizeof(Count)));
}

const Node& EmptyObject() noexcept {
    // Never destroyed: threads that outlive main may still read it.
    alignas(Node) static std::array<std::byte, sizeof(Node)> memory;
    static const Node& empty = *new (memory.data()) Node;
    return empty;
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

NodeRef::NodeRef(std::unique_ptr<Node> pFresh) noexcept : m_pNode(pFresh.release()) {}

NodeRef::NodeRef(const NodeRef& other) noexcept : m_pNode(other.m_pNode) {
    if (m_pNode != nullptr)
        m_pNode->m_references.fetch_add(1, std::memory_order_relaxed);
}

const Node& NodeRef::operator*() const noexcept {
    return m_pNode != nullptr ? *m_pNode : EmptyObject();
}

Node& NodeRef::Write() {
    // Who sees a count of one is the only holder; acquire orders the reads of former holders before the
    // write.
    if (m_pNode == nullptr)
        m_pNode = new Node;
    else if (m_pNode->m_references.load(std::memory_order_acquire) != 1)
        *this = NodeRef(std::make_unique<Node>(*m_pNode));
    return *m_pNode;
}

void NodeRef::Release(Node* pNode) noexcept {
    if (pNode->m_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    // A list of dead nodes instead of recursion: a tree may be nested deeper than the machine stack is.
    Node* pDead = pNode;
    const auto dropChild = [&pDead](Value& value) {
        auto* pChild = std::get_if<NodeRef>(&value);
        if (pChild == nullptr || pChild->m_pNode == nullptr)
            return;
        Node* pDropped = std::exchange(pChild->m_pNode, nullptr);
        if (pDropped->m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            pDropped->m_pNextDead = pDead;
            pDead = pDropped;
        }
    };
    while (pDead != nullptr) {
        Node* pCurrent = std::exchange(pDead, pDead->m_pNextDead);
        for (Member& member : pCurrent->m_members)
            dropChild(member.value);
        for (Value& element : pCurrent->m_elements)
            dropChild(element);
        delete pCurrent;
    }
}

namespace {

/// True for a token whose value lies above one, for tokens that no double can hold: those are far above or
/// far below.
bool IsLarge(std::string_view token) noexcept {
    token.remove_prefix(token.front() == '-' ? 1 : 0);
    const std::size_t mantissaEnd = std::min(token.find_first_of("eE"), token.size());
    const std::string_view mantissa = token.substr(0, mantissaEnd);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t leading = mantissa.find_first_of("123456789");
    // The power of ten of the leading digit, as the mantissa alone has it.
    const auto power =
        static_cast<std::int64_t>(point) - static_cast<std::int64_t>(leading) - (leading < point ? 1 : 0);
    std::string_view exponentText = token.substr(std::min(mantissaEnd + 1, token.size()));
    if (exponentText.starts_with('+'))
        exponentText.remove_prefix(1);
    std::int64_t exponent = 0;
    const auto result =
        std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
    if (result.ec == std::errc::result_out_of_range)
        return !exponentText.starts_with('-');
    return power > -exponent;
}

}  // namespace

std::int32_t Integer::Read() const noexcept {
    const std::string_view text = token.View();
    std::int32_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double Double::Read() const noexcept {
    const std::string_view text = token.View();
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        value = std::copysign(IsLarge(text) ? HUGE_VAL : 0.0, text.front() == '-' ? -1.0 : 1.0);
    return value;
}

void SetNumber(Value& value, std::string_view token) {
    std::int32_t integer = 0;
    const char* pEnd = token.data() + token.size();
    const auto [pStop, error] = std::from_chars(token.data(), pEnd, integer);
    if (error == std::errc() && pStop == pEnd)
        value.emplace<Integer>(token);
    else
        value.emplace<Double>(token);
}

Node::Node(std::vector<Member>&& members, KeyIndex&& index) noexcept
    : m_members(std::move(members)), m_index(std::move(index)) {}

Node::Node(std::vector<Value>&& elements) noexcept : m_elements(std::move(elements)), m_isArray(true) {}

Node::Node(const Node& other)
    : m_members(other.m_members),
      m_elements(other.m_elements),
      m_index(other.m_index),
      m_isArray(other.m_isArray) {}

const Value* Node::Find(std::string_view key) const noexcept {
    const std::size_t position = m_index.Find(key, m_members);
    return position == KeyIndex::kNotFound ? nullptr : &m_members[position].value;
}

Value& Node::At(std::string_view key) {
    const std::size_t position = m_index.Find(key, m_members);
    if (position != KeyIndex::kNotFound)
        return m_members[position].value;
    m_members.emplace_back(key);
    m_index.Appended(m_members);
    return m_members.back().value;
}

void Node::Remove(std::string_view key) {
    const std::size_t position = m_index.Find(key, m_members);
    if (position == KeyIndex::kNotFound)
        return;
    m_members.erase(m_members.begin() + static_cast<std::ptrdiff_t>(position));
    m_index.Rebuild(m_members);
}

void Node::Append(Value&& element) {
    m_elements.push_back(std::move(element));
}

namespace {

using NodePair = std::pair<const Node*, const Node*>;

/// Compares what is not a child; children are left in `pending`.
bool AreEqual(const Value& left, const Value& right, std::vector<NodePair>& pending) {
    if (left.index() != right.index())
        return false;
    if (const auto* pChild = std::get_if<NodeRef>(&left)) {
        pending.emplace_back(&**pChild, &*std::get<NodeRef>(right));
        return true;
    }
    if (const auto* pText = std::get_if<Text>(&left))
        return *pText == std::get<Text>(right);
    if (const auto* pInteger = std::get_if<Integer>(&left))
        return pInteger->token == std::get<Integer>(right).token;
    if (const auto* pDouble = std::get_if<Double>(&left))
        return pDouble->token == std::get<Double>(right).token;
    if (const auto* pBool = std::get_if<bool>(&left))
        return *pBool == std::get<bool>(right);
    return true;
}

}  // namespace

bool AreEqual(const Node& left, const Node& right) {
    std::vector<NodePair> pending{{&left, &right}};
    while (!pending.empty()) {
        const auto [pLeft, pRight] = pending.back();
        pending.pop_back();
        if (pLeft == pRight)
            continue;
        if (pLeft->IsArray() != pRight->IsArray() || pLeft->Size() != pRight->Size())
            return false;
        for (std::size_t i = 0; i < pLeft->Members().size(); ++i) {
            const Member& a = pLeft->Members()[i];
            const Member& b = pRight->Members()[i];
            if (!(a.key == b.key) || !AreEqual(a.value, b.value, pending))
                return false;
        }
        for (std::size_t i = 0; i < pLeft->Elements().size(); ++i)
            if (!AreEqual(pLeft->Elements()[i], pRight->Elements()[i], pending))
                return false;
    }
    return true;
}

}  // namespace CoreServices::Tree
