#include "base/parameters/Tree.h"

#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "base/parameters/Document.h"
#include "base/parameters/LooseNode.h"

namespace CoreServices::Tree {

namespace {

/// Of a long text.
template <class Head>
Head* HeadOf(const Value& text) noexcept {
    void* pHead = const_cast<char*>(text.View().data()) - sizeof(Head);
    return std::launder(static_cast<Head*>(pHead));
}

/// Of a value that points to something: the document that holds it; null where none does.
Document* DocumentOf(const Value& value) noexcept {
    if (value.IsContainer())
        return value.GetNode()->GetDocument();
    return value.IsInDocument() ? HeadOf<DocumentText>(value)->pDocument : nullptr;
}

/// Of a container that is no document's.
LooseNode* LooseNodeOf(const Value& container) noexcept {
    return static_cast<LooseNode*>(container.GetNode());
}

void Retain(const Value& value) noexcept {
    if (!value.PointsToSomething())
        return;
    if (Document* pDocument = DocumentOf(value))
        pDocument->Retain(1);
    else if (value.IsContainer())
        LooseNodeOf(value)->Retain();
    else
        HeadOf<LooseText>(value)->references.fetch_add(1, std::memory_order_relaxed);
}

/// Of a long text that is no document's.
void ReleaseText(const Value& text) noexcept {
    auto* pHead = HeadOf<LooseText>(text);
    if (pHead->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        ::operator delete(pHead);
}

void Release(const Value& value) noexcept {
    if (!value.PointsToSomething())
        return;
    if (Document* pDocument = DocumentOf(value))
        pDocument->Release(1);
    else if (value.IsContainer())
        LooseNode::Release(LooseNodeOf(value));
    else
        ReleaseText(value);
}

/// Visits the keys and values that point to something.
template <class Visitor>
void ForEachPointer(const Node& node, const Visitor& visit) {
    const auto visitPointer = [&visit](const Value& value) {
        if (value.PointsToSomething())
            visit(value);
    };
    for (const Member& member : node.Members()) {
        visitPointer(member.key);
        visitPointer(member.value);
    }
    for (const Value& element : node.Elements())
        visitPointer(element);
}

/// Counts what is released of one document after the other, to tell each but once.
class Releases {
public:
    Releases() noexcept = default;
    Releases(const Releases&) = delete;
    Releases& operator=(const Releases&) = delete;
    ~Releases() { ReleaseAll(); }

    void Add(Document* pDocument) noexcept {
        if (pDocument != m_pDocument) {
            ReleaseAll();
            m_pDocument = pDocument;
        }
        ++m_references;
    }

private:
    void ReleaseAll() noexcept {
        if (m_references != 0)
            m_pDocument->Release(std::exchange(m_references, 0));
    }

    Document* m_pDocument = nullptr;
    std::size_t m_references = 0;
};

bool IsSmallBeside(std::size_t size, const Document& document) noexcept {
    return document.Size() > kLeastShared && size < document.Size() / kSmallestShare;
}

}  // namespace

std::span<const Slot> Node::Slots() const noexcept {
    if (m_pDocument == nullptr)
        return static_cast<const LooseNode*>(this)->KeySlots();
    const std::span<const Member> members = Members();
    const void* pBehind = members.data() + members.size();
    return {static_cast<const Slot*>(pBehind), NumSlots(members.size())};
}

const Value* Node::Find(std::string_view key) const noexcept {
    const std::span<const Member> members = Members();
    const std::size_t position =
        FindKey(key, members, members.size() > kMostSearchedOneByOne ? Slots() : std::span<const Slot>());
    return position == kKeyNotFound ? nullptr : &members[position].value;
}

LooseNode::LooseNode(const Node& other) : Node(other.IsArray()) {
    constexpr std::size_t kRoomToGrow = 2;
    if (other.IsArray()) {
        m_elements.reserve(other.Size() + kRoomToGrow);
        m_elements.assign(other.Elements().begin(), other.Elements().end());
        SetItems(m_elements.data(), m_elements.size());
    } else {
        m_members.reserve(other.Size() + kRoomToGrow);
        m_members.assign(other.Members().begin(), other.Members().end());
        SetItems(m_members.data(), m_members.size());
        m_index.Assign(other.Slots());
    }
    // In one step where it can be, as the values of a document all point into it.
    std::size_t numPointers = 0;
    ForEachPointer(*this, [&](const Value& value) {
        if (other.GetDocument() != nullptr)
            ++numPointers;
        else
            Tree::Retain(value);
    });
    if (numPointers != 0)
        other.GetDocument()->Retain(numPointers);
}

void LooseNode::Release(LooseNode* pNode) noexcept {
    if (!pNode->IsLastReference())
        return;
    Releases releases;
    // A list of dead nodes instead of recursion: a tree may be nested deeper than the machine stack is.
    LooseNode* pDead = pNode;
    while (pDead != nullptr) {
        const std::unique_ptr<LooseNode> pCurrent(std::exchange(pDead, pDead->m_pNextDead));
        ForEachPointer(*pCurrent, [&](const Value& value) {
            if (Document* pDocument = DocumentOf(value))
                return releases.Add(pDocument);
            if (!value.IsContainer())
                return ReleaseText(value);
            LooseNode* pChild = LooseNodeOf(value);
            if (pChild->IsLastReference()) {
                pChild->m_pNextDead = pDead;
                pDead = pChild;
            }
        });
    }
}

Value& LooseNode::At(std::string_view key) {
    const std::size_t position = FindKey(key, m_members, m_index.Slots());
    if (position != kKeyNotFound)
        return m_members[position].value;
    if (Size() == kMostItems)
        throw std::length_error("Parameters: too many keys");
    OwnedValue owned(Kind::Text, key);
    m_members.push_back({owned.Get(), Value()});
    owned.Give();
    SetItems(m_members.data(), m_members.size());
    m_index.Appended(m_members);
    return m_members.back().value;
}

void LooseNode::Set(std::string_view key, OwnedValue&& value) {
    Tree::Release(std::exchange(At(key), value.Give()));
}

void LooseNode::Remove(std::string_view key) {
    const std::size_t position = FindKey(key, m_members, m_index.Slots());
    if (position == kKeyNotFound)
        return;
    const Member removed = m_members[position];
    m_members.erase(m_members.begin() + static_cast<std::ptrdiff_t>(position));
    SetItems(m_members.data(), m_members.size());
    Tree::Release(removed.key);
    Tree::Release(removed.value);
    m_index.Rebuild(m_members);
}

LooseNode& LooseNode::WriteArray(std::string_view key) {
    Value& place = At(key);
    if (place.GetKind() != Kind::Array)
        Tree::Release(std::exchange(place, Value(Kind::Array)));
    return Write(place);
}

void LooseNode::Append(OwnedValue&& element) {
    if (Size() == kMostItems)
        throw std::length_error("Parameters: too many elements");
    m_elements.push_back(element.Get());
    element.Give();
    SetItems(m_elements.data(), m_elements.size());
}

LooseNode& LooseNode::Write(Value& container) {
    const bool isLoose = container.GetNode() != nullptr && container.GetNode()->GetDocument() == nullptr;
    if (isLoose && !LooseNodeOf(container)->IsShared())
        return *LooseNodeOf(container);
    const Kind kind = container.GetKind();
    auto pOwn = container.GetNode() != nullptr ? std::make_unique<LooseNode>(*container.GetNode())
                                               : std::make_unique<LooseNode>(kind == Kind::Array);
    LooseNode& own = *pOwn;
    Tree::Release(std::exchange(container, Value(kind, pOwn.release())));
    return own;
}

OwnedValue::OwnedValue(Kind kind, std::string_view text) {
    if (text.size() <= Value::kInlineCapacity) {
        m_value = Value::OfShort(kind, text);
        return;
    }
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("Parameters: a text of 4 GiB or more");
    char* pHead = static_cast<char*>(::operator new(sizeof(LooseText) + text.size()));
    new (pHead) LooseText;
    std::memcpy(pHead + sizeof(LooseText), text.data(), text.size());
    m_value = Value::OfLong(kind, {pHead + sizeof(LooseText), text.size()}, false);
}

OwnedValue OwnedValue::Share(const Value& value) {
    const Document* pDocument = value.PointsToSomething() ? DocumentOf(value) : nullptr;
    if (pDocument != nullptr) {
        if (!value.IsContainer() && IsSmallBeside(value.View().size(), *pDocument))
            return OwnedValue(value.GetKind(), value.View());
        if (value.IsContainer() && IsSmallBeside(value.GetNode()->Span(), *pDocument))
            return CopyOut(*value.GetNode());
    }
    Retain(value);
    return Adopt(value);
}

OwnedValue::OwnedValue(const OwnedValue& other) noexcept : m_value(other.m_value) {
    Retain(m_value);
}

OwnedValue::~OwnedValue() {
    Release(m_value);
}

const Node& OwnedValue::NodeOf(const Value& container) noexcept {
    // Never destroyed: threads that outlive main may still read them.
    static const Node& emptyObject = *new LooseNode(false);
    static const Node& emptyArray = *new LooseNode(true);
    if (container.GetNode() != nullptr)
        return *container.GetNode();
    return container.IsArray() ? emptyArray : emptyObject;
}

LooseNode& OwnedValue::Write() {
    return LooseNode::Write(m_value);
}

namespace {

using ValuePair = std::pair<Value, Value>;

/// Compares what holds no further values; the others are left in `pending`.
bool AreEqual(const Value& left, const Value& right, std::vector<ValuePair>& pending) {
    if (left.GetKind() != right.GetKind())
        return false;
    if (left.IsContainer())
        pending.emplace_back(left, right);
    else
        return left.View() == right.View();
    return true;
}

}  // namespace

bool AreEqual(const Value& left, const Value& right) {
    std::vector<ValuePair> pending;
    bool equal = AreEqual(left, right, pending);
    while (equal && !pending.empty()) {
        const Node& a = OwnedValue::NodeOf(pending.back().first);
        const Node& b = OwnedValue::NodeOf(pending.back().second);
        pending.pop_back();
        if (&a == &b)
            continue;
        equal = a.Size() == b.Size();
        for (std::size_t i = 0; equal && i < a.Members().size(); ++i)
            equal = a.Members()[i].key.View() == b.Members()[i].key.View() &&
                    AreEqual(a.Members()[i].value, b.Members()[i].value, pending);
        for (std::size_t i = 0; equal && i < a.Elements().size(); ++i)
            equal = AreEqual(a.Elements()[i], b.Elements()[i], pending);
    }
    return equal;
}

}  // namespace CoreServices::Tree
