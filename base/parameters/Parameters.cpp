#include "base/parameters/Parameters.h"

#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "base/parameters/JsonReader.h"
#include "base/parameters/JsonWriter.h"
#include "base/parameters/Tree.h"

namespace CoreServices {

using Tree::Node;
using Tree::NodeRef;
using Tree::Text;
using Tree::Value;

namespace {

const NodeRef* ChildIn(const Value* pValue) noexcept {
    return pValue != nullptr ? std::get_if<NodeRef>(pValue) : nullptr;
}

const Value* ElementOf(const Node& node, std::size_t n) noexcept {
    return n < node.Elements().size() ? &node.Elements()[n] : nullptr;
}

bool ReadText(const Value* pValue, std::string& out) {
    const auto* pText = pValue != nullptr ? std::get_if<Text>(pValue) : nullptr;
    if (pText == nullptr)
        return false;
    out = pText->View();
    return true;
}

/// The value under the key, for writing; made where there is none.
Value& At(NodeRef& root, std::string_view key) {
    if (root->IsArray())
        throw std::logic_error("Parameters: an array holds no keys");
    return root.Write().At(key);
}

/// The array under the key, for writing. A value of another type is replaced by an empty array.
Node& WriteArray(Value& value) {
    auto* pChild = std::get_if<NodeRef>(&value);
    if (pChild == nullptr || !(*pChild)->IsArray())
        pChild = &value.emplace<NodeRef>(std::make_unique<Node>(std::vector<Value>()));
    return pChild->Write();
}

}  // namespace

void Parameters::SetParameter(std::string_view key, std::string_view text) {
    Text value(text);
    At(m_root, key).emplace<Text>(std::move(value));
}

void Parameters::SetParameter(std::string_view key, const char* text) {
    SetParameter(key, std::string_view(text));
}

void Parameters::SetParameter(std::string_view key, bool value) {
    At(m_root, key).emplace<bool>(value);
}

void Parameters::SetParameter(std::string_view key, std::int32_t value) {
    std::array<char, 16> token;
    const auto result = std::to_chars(token.data(), token.data() + token.size(), value);
    Tree::Integer number({token.data(), result.ptr});
    At(m_root, key).emplace<Tree::Integer>(std::move(number));
}

void Parameters::SetParameter(std::string_view key, double value) {
    if (!std::isfinite(value))
        throw std::invalid_argument("Parameters: \"" + std::string(key) + "\" is no finite number");
    std::array<char, 32> token;
    const auto result = std::to_chars(token.data(), token.data() + token.size(), value);
    std::string text(token.data(), result.ptr);
    if (text.find_first_of(".e") == std::string::npos)
        text += ".0";
    Tree::Double number(text);
    At(m_root, key).emplace<Tree::Double>(std::move(number));
}

void Parameters::SetParameterNull(std::string_view key) {
    At(m_root, key).emplace<Tree::Null>();
}

void Parameters::SetChildParameters(std::string_view key, Parameters child) {
    At(m_root, key).emplace<NodeRef>(std::move(child.m_root));
}

bool Parameters::CopyValue(const Parameters& source, std::string_view sourceKey, std::string_view key) {
    const Value* pValue = source.m_root->Find(sourceKey);
    if (pValue == nullptr)
        return false;
    Value copy(*pValue);
    At(m_root, key) = std::move(copy);
    return true;
}

bool Parameters::GetParameter(std::string_view key, std::string& out) const {
    return ReadText(m_root->Find(key), out);
}

bool Parameters::GetParameter(std::string_view key, bool& out) const {
    const Value* pValue = m_root->Find(key);
    const auto* pBool = pValue != nullptr ? std::get_if<bool>(pValue) : nullptr;
    if (pBool == nullptr)
        return false;
    out = *pBool;
    return true;
}

bool Parameters::GetParameter(std::string_view key, std::int32_t& out) const {
    const Value* pValue = m_root->Find(key);
    const auto* pInteger = pValue != nullptr ? std::get_if<Tree::Integer>(pValue) : nullptr;
    if (pInteger == nullptr)
        return false;
    out = pInteger->Read();
    return true;
}

bool Parameters::GetParameter(std::string_view key, double& out) const {
    const Value* pValue = m_root->Find(key);
    const auto* pDouble = pValue != nullptr ? std::get_if<Tree::Double>(pValue) : nullptr;
    if (pDouble == nullptr)
        return false;
    out = pDouble->Read();
    return true;
}

bool Parameters::HasParameter(std::string_view key) const {
    return m_root->Find(key) != nullptr;
}

bool Parameters::GetChildParameters(std::string_view key, Parameters& out) const {
    const NodeRef* pChild = ChildIn(m_root->Find(key));
    if (pChild == nullptr)
        return false;
    out.m_root = *pChild;
    return true;
}

Parameters Parameters::GetChildParameters(std::string_view key) const {
    Parameters child;
    GetChildParameters(key, child);
    return child;
}

void Parameters::AddArrayParameter(std::string_view key, std::string_view text) {
    Value value(std::in_place_type<Text>, text);
    WriteArray(At(m_root, key)).Append(std::move(value));
}

void Parameters::AddArrayChildParameters(std::string_view key, Parameters child) {
    WriteArray(At(m_root, key)).Append(Value(std::in_place_type<NodeRef>, std::move(child.m_root)));
}

void Parameters::AddEmptyArray(std::string_view key) {
    NodeRef array(std::make_unique<Node>(std::vector<Value>()));
    At(m_root, key).emplace<NodeRef>(std::move(array));
}

std::size_t Parameters::GetArrayNumValues(std::string_view key) const {
    return GetChildParameters(key).GetArrayNumValues();
}

bool Parameters::GetArrayNthValue(std::string_view key, std::size_t n, std::string& out) const {
    const NodeRef* pChild = ChildIn(m_root->Find(key));
    return pChild != nullptr && ReadText(ElementOf(**pChild, n), out);
}

bool Parameters::GetArrayNthChildParameters(std::string_view key, std::size_t n, Parameters& out) const {
    const NodeRef* pChild = ChildIn(m_root->Find(key));
    const NodeRef* pElement = pChild != nullptr ? ChildIn(ElementOf(**pChild, n)) : nullptr;
    if (pElement == nullptr)
        return false;
    out.m_root = *pElement;
    return true;
}

Parameters Parameters::GetArrayNthChildParameters(std::string_view key, std::size_t n) const {
    return GetChildParameters(key).GetArrayNthChildParameters(n);
}

bool Parameters::IsArray() const noexcept {
    return m_root->IsArray();
}

std::size_t Parameters::GetArrayNumValues() const noexcept {
    return m_root->Elements().size();
}

Parameters Parameters::GetArrayNthChildParameters(std::size_t n) const {
    const NodeRef* pElement = ChildIn(ElementOf(*m_root, n));
    return pElement != nullptr ? Parameters(*pElement) : Parameters();
}

void Parameters::ClearParameter(std::string_view key) {
    if (HasParameter(key))
        m_root.Write().Remove(key);
}

void Parameters::ClearParameters() noexcept {
    m_root = NodeRef();
}

bool Parameters::IsEmpty() const noexcept {
    return m_root->Size() == 0;
}

std::vector<std::string> Parameters::GetTopLevelParameterNames() const {
    std::vector<std::string> names;
    names.reserve(m_root->Members().size());
    for (const Tree::Member& member : m_root->Members())
        names.emplace_back(member.key.View());
    return names;
}

std::string Parameters::toJSON() const {
    return Tree::JsonWriter(Tree::JsonWriter::Layout::Compact).Write(*m_root);
}

Parameters Parameters::fromJSON(std::string_view text) {
    return Parameters(Tree::JsonReader(text).Read());
}

std::string Parameters::debugString() const {
    return Tree::JsonWriter(Tree::JsonWriter::Layout::Indented).Write(*m_root);
}

bool operator==(const Parameters& left, const Parameters& right) noexcept {
    return Tree::AreEqual(*left.m_root, *right.m_root);
}

}  // namespace CoreServices
