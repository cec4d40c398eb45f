#pragma once

#include <bson/bson.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CommonServices::Mongo {

/// Marks an event in the outbox of a document; unique in the database.
using Token = bson_oid_t;

Token NewToken();

class Value;

/// A BSON document under construction, which it owns. Fields keep the order in which they were appended; the
/// keys are literals. Throws `ObjectStoreException` where it would outgrow what BSON can say. One thread at a
/// time.
class Document {
public:
    Document() { bson_init(&m_bson); }
    explicit Document(const bson_t& other) { bson_copy_to(&other, &m_bson); }
    Document(const Document& other) : Document(other.m_bson) {}
    Document(Document&& other) noexcept {
        bson_steal(&m_bson, &other.m_bson);
        bson_init(&other.m_bson);
    }
    Document& operator=(const Document&) = delete;
    ~Document() { bson_destroy(&m_bson); }

    /// A string, or binary where the text is no UTF-8 or holds a NUL; one text always gives the same value.
    Document& Text(const char* key, std::string_view text);
    Document& Bytes(const char* key, std::string_view bytes);
    Document& Int(const char* key, std::int32_t number);
    Document& Long(const char* key, std::int64_t number);
    Document& Bool(const char* key, bool value);
    Document& Time(const char* key, std::chrono::system_clock::time_point time);
    Document& Id(const char* key, const Token& token);
    Document& Child(const char* key, const Document& child);
    Document& Texts(const char* key, std::span<const std::string> texts);
    Document& AllBytes(const char* key, std::span<const std::string> values);
    Document& Children(const char* key, std::span<const Document> children);
    /// A value of another document, of whatever kind.
    Document& Copy(const char* key, const Value& value);

    const bson_t* Get() const noexcept { return &m_bson; }
    bson_t* Get() noexcept { return &m_bson; }
    std::size_t Size() const noexcept { return m_bson.len; }

private:
    template <typename List, typename Append>
    Document& Array(const char* key, const List& values, Append append);

    bson_t m_bson;
};

/// A value at the top level of a document, which must live as long. Readers are strict: where the value is
/// missing or of another kind they give nothing.
class Value {
public:
    Value(const bson_t& document, const char* key) : m_isThere(bson_iter_init_find(&m_at, &document, key)) {}

    bool IsThere() const noexcept { return m_isThere; }
    /// What `Document::Text` and `Document::Bytes` wrote.
    std::string_view Text() const;
    std::optional<std::int64_t> Number() const;
    bool Bool() const;
    std::optional<Token> Id() const;
    std::optional<Document> Child() const;
    /// The documents in an array.
    std::vector<Document> Children() const;

private:
    friend class Document;

    bson_iter_t m_at;  // first: the line above fills it
    bool m_isThere;
};

}  // namespace CommonServices::Mongo
