#include "base/parameters/TreeNode.h"

#include <utility>

namespace CoreServices::Tree {

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
