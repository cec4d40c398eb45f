#include "platform/stores/mongo/Document.h"

#include <array>
#include <cstring>
#include <limits>

#include "platform/stores/RecordStore.h"

namespace CommonServices::Mongo {

namespace {

void Require(bool isAppended) {
    if (!isAppended) {
        throw ObjectStoreException("A document outgrows what BSON can hold");
    }
}

int LengthOf(std::string_view text) {
    Require(text.size() < static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()));
    return static_cast<int>(text.size());
}

const std::uint8_t* BytesOf(std::string_view text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

void AppendBytes(bson_t& document, const char* key, std::string_view bytes) {
    // An empty view may have no address, and the library asks for one.
    const std::string_view addressed = bytes.empty() ? std::string_view("") : bytes;
    Require(bson_append_binary(&document, key, -1, BSON_SUBTYPE_BINARY, BytesOf(addressed),
                               static_cast<std::uint32_t>(LengthOf(bytes))));
}

// ASCII without a NUL, as most texts are, is seen several times as fast as the library looks at UTF-8.
bool IsPlain(std::string_view text) {
    std::uint64_t seen = 0;
    std::size_t at = 0;
    for (; at + sizeof seen <= text.size(); at += sizeof seen) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        seen |= word;
    }
    for (; at < text.size(); ++at) {
        seen |= static_cast<unsigned char>(text[at]);
    }
    return (seen & 0x8080808080808080U) == 0 && text.find('\0') == std::string_view::npos;
}

void AppendText(bson_t& document, const char* key, std::string_view text) {
    if (text.empty()) {
        Require(bson_append_utf8(&document, key, -1, "", 0));
    } else if (IsPlain(text) || bson_utf8_validate(text.data(), text.size(), false)) {
        Require(bson_append_utf8(&document, key, -1, text.data(), LengthOf(text)));
    } else {
        AppendBytes(document, key, text);
    }
}

std::optional<Document> DocumentAt(const bson_iter_t& at) {
    std::uint32_t length = 0;
    const std::uint8_t* bytes = nullptr;
    bson_t document;
    if (!BSON_ITER_HOLDS_DOCUMENT(&at)) {
        return std::nullopt;
    }
    bson_iter_document(&at, &length, &bytes);
    if (!bson_init_static(&document, bytes, length)) {
        return std::nullopt;
    }
    return Document(document);
}

}  // namespace

Token NewToken() {
    Token token;
    bson_oid_init(&token, nullptr);
    return token;
}

Document& Document::Text(const char* key, std::string_view text) {
    AppendText(m_bson, key, text);
    return *this;
}

Document& Document::Bytes(const char* key, std::string_view bytes) {
    AppendBytes(m_bson, key, bytes);
    return *this;
}

Document& Document::Int(const char* key, std::int32_t number) {
    Require(bson_append_int32(&m_bson, key, -1, number));
    return *this;
}

Document& Document::Long(const char* key, std::int64_t number) {
    Require(bson_append_int64(&m_bson, key, -1, number));
    return *this;
}

Document& Document::Bool(const char* key, bool value) {
    Require(bson_append_bool(&m_bson, key, -1, value));
    return *this;
}

Document& Document::Time(const char* key, std::chrono::system_clock::time_point time) {
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    Require(bson_append_date_time(&m_bson, key, -1, sinceEpoch.count()));
    return *this;
}

Document& Document::Id(const char* key, const Token& token) {
    Require(bson_append_oid(&m_bson, key, -1, &token));
    return *this;
}

Document& Document::Child(const char* key, const Document& child) {
    Require(bson_append_document(&m_bson, key, -1, child.Get()));
    return *this;
}

template <typename List, typename Append>
Document& Document::Array(const char* key, const List& values, Append append) {
    bson_t array;
    Require(bson_append_array_begin(&m_bson, key, -1, &array));
    std::uint32_t place = 0;
    for (const auto& value : values) {
        std::array<char, 16> buffer{};
        const char* name = nullptr;
        bson_uint32_to_string(place++, &name, buffer.data(), buffer.size());
        append(array, name, value);
    }
    Require(bson_append_array_end(&m_bson, &array));
    return *this;
}

Document& Document::Texts(const char* key, std::span<const std::string> texts) {
    return Array(key, texts, AppendText);
}

Document& Document::AllBytes(const char* key, std::span<const std::string> values) {
    return Array(key, values, AppendBytes);
}

Document& Document::Children(const char* key, std::span<const Document> children) {
    return Array(key, children, [](bson_t& array, const char* name, const Document& child) {
        Require(bson_append_document(&array, name, -1, child.Get()));
    });
}

Document& Document::Copy(const char* key, const Value& value) {
    Require(value.m_isThere && bson_append_iter(&m_bson, key, -1, &value.m_at));
    return *this;
}

std::string_view Value::Text() const {
    std::uint32_t length = 0;
    if (m_isThere && BSON_ITER_HOLDS_UTF8(&m_at)) {
        const char* const text = bson_iter_utf8(&m_at, &length);
        return {text, length};
    }
    if (m_isThere && BSON_ITER_HOLDS_BINARY(&m_at)) {
        const std::uint8_t* bytes = nullptr;
        bson_iter_binary(&m_at, nullptr, &length, &bytes);
        return {reinterpret_cast<const char*>(bytes), length};
    }
    return {};
}

std::optional<std::int64_t> Value::Number() const {
    if (m_isThere && (BSON_ITER_HOLDS_INT32(&m_at) || BSON_ITER_HOLDS_INT64(&m_at))) {
        return bson_iter_as_int64(&m_at);
    }
    return std::nullopt;
}

bool Value::Bool() const {
    return m_isThere && BSON_ITER_HOLDS_BOOL(&m_at) && bson_iter_bool(&m_at);
}

std::optional<Token> Value::Id() const {
    if (m_isThere && BSON_ITER_HOLDS_OID(&m_at)) {
        return *bson_iter_oid(&m_at);
    }
    return std::nullopt;
}

std::optional<Document> Value::Child() const {
    return m_isThere ? DocumentAt(m_at) : std::nullopt;
}

std::vector<Document> Value::Children() const {
    std::vector<Document> children;
    bson_iter_t at;
    if (m_isThere && BSON_ITER_HOLDS_ARRAY(&m_at) && bson_iter_recurse(&m_at, &at)) {
        while (bson_iter_next(&at)) {
            if (const auto child = DocumentAt(at)) {
                children.push_back(*child);
            }
        }
    }
    return children;
}

}  // namespace CommonServices::Mongo
