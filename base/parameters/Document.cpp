#include "base/parameters/Document.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "base/parameters/Block.h"

namespace CoreServices::Tree {

void Document::Release(std::size_t references) noexcept {
    if (m_references.fetch_sub(references, std::memory_order_acq_rel) == references)
        FreeBlock(this, m_size);
}

DocumentBuilder::DocumentBuilder(std::size_t size) {
    void* pBlock = AllocateBlock(std::max(size, kHead));
    m_pDocument = new (pBlock) Document(std::max(size, kHead));
    m_pNext = static_cast<char*>(pBlock) + kHead;
    m_pEnd = static_cast<char*>(pBlock) + m_pDocument->Size();
}

DocumentBuilder::~DocumentBuilder() {
    if (m_pDocument != nullptr)
        m_pDocument->Release(1);
}

Value DocumentBuilder::AddText(Kind kind, std::string_view text) {
    if (text.size() <= Value::kInlineCapacity)
        return Value::OfShort(kind, text);
    char* pHead = Take(sizeof(DocumentText) + text.size());
    // What was written to the room for texts lies there already.
    std::memmove(pHead + sizeof(DocumentText), text.data(), text.size());
    new (pHead) DocumentText{m_pDocument};
    return Value::OfLong(kind, {pHead + sizeof(DocumentText), text.size()}, true);
}

std::span<char> DocumentBuilder::TextRoom() noexcept {
    const auto room = static_cast<std::size_t>(m_pEnd - m_pNext);
    return {m_pNext + std::min(sizeof(DocumentText), room), room - std::min(sizeof(DocumentText), room)};
}

Value DocumentBuilder::AddNode(Kind kind, std::span<const Value> items, std::span<const Slot> slots,
                               const char* begin) {
    char* pPlace = Take(sizeof(Node) + items.size_bytes() + slots.size_bytes());
    char* pItems = pPlace + sizeof(Node);
    std::memcpy(pItems, items.data(), items.size_bytes());
    if (!slots.empty())
        std::memcpy(pItems + items.size_bytes(), slots.data(), slots.size_bytes());
    Node* pNode = new (pPlace) Node(kind == Kind::Array);
    pNode->SetItems(pItems, kind == Kind::Array ? items.size() : items.size() / 2);
    pNode->m_pDocument = m_pDocument;
    pNode->m_span = static_cast<std::uint32_t>(std::min<std::size_t>(
        static_cast<std::size_t>(m_pNext - begin), std::numeric_limits<std::uint32_t>::max()));
    return Value(kind, pNode);
}

OwnedValue DocumentBuilder::Finish(const Value& root) noexcept {
    if (root.GetNode() == nullptr)
        return OwnedValue(root.GetKind());
    void* pBlock = m_pDocument;
    const auto used = static_cast<std::size_t>(m_pNext - static_cast<char*>(pBlock));
    m_pDocument->m_size = ShrinkBlock(pBlock, m_pDocument->m_size, used);
    m_pDocument = nullptr;
    return OwnedValue::Adopt(root);
}

char* DocumentBuilder::Take(std::size_t size) {
    constexpr std::size_t kAlignment = alignof(Node);
    const std::size_t taken = (size + kAlignment - 1) / kAlignment * kAlignment;
    if (taken > static_cast<std::size_t>(m_pEnd - m_pNext))
        throw OutOfRoom();
    return std::exchange(m_pNext, m_pNext + taken);
}

namespace {

/// The stack is no deeper than a document is nested, which its reader limits.
class Copier {
public:
    explicit Copier(const Node& node) : m_builder(DocumentBuilder::kHead + node.Span()) {}

    OwnedValue Copy(const Node& node) { return m_builder.Finish(CopyNode(node)); }

private:
    Value CopyNode(const Node& node) {
        const char* begin = m_builder.Position();
        const std::size_t first = m_items.size();
        for (const Member& member : node.Members()) {
            m_items.push_back(m_builder.AddText(Kind::Text, member.key.View()));
            AddCopy(member.value);
        }
        for (const Value& element : node.Elements())
            AddCopy(element);
        const Value copy = m_builder.AddNode(node.IsArray() ? Kind::Array : Kind::Object,
                                             std::span(m_items).subspan(first), node.Slots(), begin);
        m_items.resize(first);
        return copy;
    }

    void AddCopy(const Value& value) {
        if (value.IsContainer() && value.GetNode() != nullptr)
            m_items.push_back(CopyNode(*value.GetNode()));
        else if (value.IsLongText())
            m_items.push_back(m_builder.AddText(value.GetKind(), value.View()));
        else
            m_items.push_back(value);
    }

    DocumentBuilder m_builder;
    std::vector<Value> m_items;  // of all nodes whose copies are under way
};

}  // namespace

OwnedValue CopyOut(const Node& node) {
    return Copier(node).Copy(node);
}

}  // namespace CoreServices::Tree
