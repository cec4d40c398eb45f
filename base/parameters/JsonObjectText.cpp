#include "base/parameters/JsonObjectText.h"

#include <array>
#include <charconv>
#include <utility>

namespace CoreServices {

void JsonObjectText::AddText(std::string_view key, std::string_view text) {
    BeginMember(key);
    m_writer.WriteText(text);
}

void JsonObjectText::AddFlag(std::string_view key, bool value) {
    BeginMember(key);
    m_writer.Put(value ? "true" : "false");
}

void JsonObjectText::AddInteger(std::string_view key, std::int32_t value) {
    std::array<char, 16> token;
    const auto result = std::to_chars(token.data(), token.data() + token.size(), value);
    BeginMember(key);
    m_writer.Put(std::string_view(token.data(), result.ptr));
}

void JsonObjectText::AddTextOf(std::string_view key, const Parameters& tree) {
    BeginMember(key);
    m_writer.OpenText();
    m_writer.WriteTree(tree.m_root.Get());
    m_writer.CloseText();
}

std::string JsonObjectText::Finish() {
    m_writer.Put(m_isEmpty ? "{}" : "}");
    return m_writer.Result();
}

void JsonObjectText::BeginMember(std::string_view key) {
    m_writer.WriteText(key, std::exchange(m_isEmpty, false) ? '{' : ',', ':');
}

}  // namespace CoreServices
