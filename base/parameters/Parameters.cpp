#include "base/parameters/Parameters.h"

#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "base/parameters/Document.h"
#include "base/parameters/JsonReader.h"
#include "base/parameters/JsonWriter.h"
#include "base/parameters/LooseNode.h"
#include "base/parameters/Number.h"
#include "base/parameters/Tree.h"

namespace CoreServices {

using Tree::Kind;
using Tree::Node;
using Tree::OwnedValue;
using Tree::Value;

namespace {

bool IsOf(const Value* pValue, Kind kind) noexcept {
    return pValue != nullptr && pValue->GetKind() == kind;
}

/// The node of a child; null where the value is none.
const Node* NodeIn(const Value* pValue) noexcept {
    return pValue != nullptr && pValue->IsContainer() ? &OwnedValue::NodeOf(*pValue) : nullptr;
}

const Value* ElementOf(const Node* pNode, std::size_t n) noexcept {
    return pNode != nullptr && n < pNode->Elements().size() ? &pNode->Elements()[n] : nullptr;
}

bool ReadText(const Value* pValue, std::string& out) {
    if (!IsOf(pValue, Kind::Text))
        return false;
    out = pValue->View();
    return true;
}

bool ReadChild(const Value* pValue, OwnedValue& out) {
    if (pValue == nullptr || !pValue->IsContainer())
        return false;
    out = OwnedValue::Share(*pValue);
    return true;
}

std::string Write(const OwnedValue& root, Tree::JsonWriter::Layout layout) {
    Tree::JsonWriter writer(layout);
    writer.WriteTree(root.Get());
    return writer.Result();
}

/// For writing keys.
Tree::LooseNode& WriteObject(OwnedValue& root) {
    if (root->IsArray())
        throw std::logic_error("Parameters: an array holds no keys");
    return root.Write();
}

}  // namespace

void Parameters::SetParameter(std::string_view key, std::string_view text) {
    OwnedValue value(Kind::Text, text);
    WriteObject(m_root).Set(key, std::move(value));
}

void Parameters::SetParameter(std::string_view key, const char* text) {
    SetParameter(key, std::string_view(text));
}

void Parameters::SetParameter(std::string_view key, bool value) {
    WriteObject(m_root).Set(key, OwnedValue(value ? Kind::True : Kind::False));
}

void Parameters::SetParameter(std::string_view key, std::int32_t value) {
    std::array<char, 16> token;
    const auto result = std::to_chars(token.data(), token.data() + token.size(), value);
    OwnedValue number(Kind::Integer, {token.data(), result.ptr});
    WriteObject(m_root).Set(key, std::move(number));
}

void Parameters::SetParameter(std::string_view key, double value) {
    if (!std::isfinite(value))
        throw std::invalid_argument("Parameters: \"" + std::string(key) + "\" is no finite number");
    std::array<char, 32> token;
    const auto result = std::to_chars(token.data(), token.data() + token.size(), value);
    std::string text(token.data(), result.ptr);
    if (text.find_first_of(".e") == std::string::npos)
        text += ".0";
    OwnedValue number(Kind::Double, text);
    WriteObject(m_root).Set(key, std::move(number));
}

void Parameters::SetParameterNull(std::string_view key) {
    WriteObject(m_root).Set(key, OwnedValue(Kind::Null));
}

void Parameters::SetChildParameters(std::string_view key, Parameters child) {
    WriteObject(m_root).Set(key, std::move(child.m_root));
}

bool Parameters::CopyValue(const Parameters& source, std::string_view sourceKey, std::string_view key) {
    const Value* pValue = source.m_root->Find(sourceKey);
    if (pValue == nullptr)
        return false;
    OwnedValue copy = OwnedValue::Share(*pValue);
    WriteObject(m_root).Set(key, std::move(copy));
    return true;
}

bool Parameters::GetParameter(std::string_view key, std::string& out) const {
    return ReadText(m_root->Find(key), out);
}

bool Parameters::GetParameter(std::string_view key, bool& out) const {
    const Value* pValue = m_root->Find(key);
    if (!IsOf(pValue, Kind::True) && !IsOf(pValue, Kind::False))
        return false;
    out = IsOf(pValue, Kind::True);
    return true;
}

bool Parameters::GetParameter(std::string_view key, std::int32_t& out) const {
    const Value* pValue = m_root->Find(key);
    if (!IsOf(pValue, Kind::Integer))
        return false;
    out = Tree::ReadInteger(pValue->View());
    return true;
}

bool Parameters::GetParameter(std::string_view key, double& out) const {
    const Value* pValue = m_root->Find(key);
    if (!IsOf(pValue, Kind::Double))
        return false;
    out = Tree::ReadDouble(pValue->View());
    return true;
}

bool Parameters::HasParameter(std::string_view key) const {
    return m_root->Find(key) != nullptr;
}

bool Parameters::GetChildParameters(std::string_view key, Parameters& out) const {
    return ReadChild(m_root->Find(key), out.m_root);
}

Parameters Parameters::GetChildParameters(std::string_view key) const {
    Parameters child;
    GetChildParameters(key, child);
    return child;
}

void Parameters::AddArrayParameter(std::string_view key, std::string_view text) {
    OwnedValue element(Kind::Text, text);
    WriteObject(m_root).WriteArray(key).Append(std::move(element));
}

void Parameters::AddArrayChildParameters(std::string_view key, Parameters child) {
    WriteObject(m_root).WriteArray(key).Append(std::move(child.m_root));
}

void Parameters::AddEmptyArray(std::string_view key) {
    WriteObject(m_root).Set(key, OwnedValue(Kind::Array));
}

std::size_t Parameters::GetArrayNumValues(std::string_view key) const {
    const Node* pChild = NodeIn(m_root->Find(key));
    return pChild != nullptr ? pChild->Elements().size() : 0;
}

bool Parameters::GetArrayNthValue(std::string_view key, std::size_t n, std::string& out) const {
    return ReadText(ElementOf(NodeIn(m_root->Find(key)), n), out);
}

bool Parameters::GetArrayNthChildParameters(std::string_view key, std::size_t n, Parameters& out) const {
    return ReadChild(ElementOf(NodeIn(m_root->Find(key)), n), out.m_root);
}

Parameters Parameters::GetArrayNthChildParameters(std::string_view key, std::size_t n) const {
    Parameters child;
    GetArrayNthChildParameters(key, n, child);
    return child;
}

bool Parameters::IsArray() const noexcept {
    return m_root->IsArray();
}

std::size_t Parameters::GetArrayNumValues() const noexcept {
    return m_root->Elements().size();
}

Parameters Parameters::GetArrayNthChildParameters(std::size_t n) const {
    Parameters child;
    ReadChild(ElementOf(&*m_root, n), child.m_root);
    return child;
}

void Parameters::ClearParameter(std::string_view key) {
    if (HasParameter(key))
        m_root.Write().Remove(key);
}

void Parameters::ClearParameters() noexcept {
    m_root = OwnedValue();
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
    return Write(m_root, Tree::JsonWriter::Layout::Compact);
}

Parameters Parameters::fromJSON(std::string_view text) {
    return Parameters(Tree::JsonReader::Read(text));
}

std::size_t Parameters::MostMemoryOf(std::string_view text) noexcept {
    return Tree::JsonReader::MostMemoryOf(text);
}

std::size_t Parameters::DocumentBytes() const noexcept {
    const Tree::Document* const pDocument = m_root->GetDocument();
    return pDocument != nullptr ? pDocument->Size() : 0;
}

std::string Parameters::debugString() const {
    return Write(m_root, Tree::JsonWriter::Layout::Indented);
}

bool operator==(const Parameters& left, const Parameters& right) noexcept {
    return Tree::AreEqual(left.m_root.Get(), right.m_root.Get());
}

}  // namespace CoreServices
