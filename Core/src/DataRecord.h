#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Core/src/wf_Record.h"

namespace Weftline::DataModel {

/// Names one value at the top level of a typed record's JSON.
struct RecordField {
    std::string key;
    std::int32_t scope = 0;  ///< 0: the private JSON; anything else: the public JSON
};

/// The collection, followed by "-" and the suffix where there is one.
std::string MakeTopic(std::string_view collection, std::string_view suffix);

/// The text under `field.key` in the JSON that `field.scope` picks, or `defaultValue` where there is no text.
/// Throws `std::runtime_error` when the record's JSON is none.
std::string GetFieldString(const Record& record, const RecordField& field, const std::string& defaultValue);

/// What the typed records have in common: a record, which it owns, whose classification is fixed at compile
/// time. `TypeText` and `CollectionText` are compile-time strings of Boost.Hana. One thread at a time.
template <class TypeText, std::int32_t kVersion, class CollectionText>
class TypedRecord {
public:
    /// An empty record of the collection, or of its suffixed topic where `topicSuffix` is not empty.
    explicit TypedRecord(std::string_view topicSuffix)
        : m_record(std::string(TypeName()), Version(), MakeTopic(Collection(), topicSuffix)) {}
    TypedRecord(const TypedRecord&) = default;
    TypedRecord(TypedRecord&&) noexcept = default;
    TypedRecord& operator=(const TypedRecord&) = default;
    TypedRecord& operator=(TypedRecord&&) noexcept = default;
    virtual ~TypedRecord() = default;

    static constexpr std::string_view TypeName() noexcept { return TypeText::c_str(); }
    static constexpr std::int32_t Version() noexcept { return kVersion; }
    static constexpr std::string_view Collection() noexcept { return CollectionText::c_str(); }

    const Record& GetRecord() const noexcept { return m_record; }
    Record& GetRecord() noexcept { return m_record; }

private:
    Record m_record;
};

/// A typed record whose JSON is handled as text.
template <class TypeText, std::int32_t kVersion, class CollectionText>
class DataRecord : public TypedRecord<TypeText, kVersion, CollectionText> {
public:
    using DataRecord::TypedRecord::TypedRecord;

    /// As the free function above, on this record.
    std::string GetFieldString(const RecordField& field, const std::string& defaultValue) const {
        return DataModel::GetFieldString(this->GetRecord(), field, defaultValue);
    }
};

/// A typed record whose JSON is the form of two plain structures, one private and one public, which it owns.
/// The structures are the truth: the record's two texts are made from them when the derived class is turned
/// into a plain `Record`, and not before.
template <class TypeText, std::int32_t kVersion, class CollectionText, class PrivateStructure,
          class PublicStructure>
class DataRecordV2 : public TypedRecord<TypeText, kVersion, CollectionText> {
public:
    using DataRecordV2::TypedRecord::TypedRecord;

protected:
    const PrivateStructure& PrivateData() const noexcept { return m_privateData; }
    PrivateStructure& PrivateData() noexcept { return m_privateData; }
    const PublicStructure& PublicData() const noexcept { return m_publicData; }
    PublicStructure& PublicData() noexcept { return m_publicData; }

private:
    PrivateStructure m_privateData;
    PublicStructure m_publicData;
};

/// Throws `std::domain_error` unless `incoming` is classified at all and then as expected; the text ends with
/// the first value that differs. Texts are compared byte for byte.
void RequireClassification(const Record& incoming, std::string_view expectedType,
                           std::int32_t expectedVersion, std::string_view expectedTopic);

/// Puts a record that came out of a store into the typed record `target`, after the test above. `target`
/// stays as it was where the test fails.
template <class TypedRecord>
void BuildFromRecord(const Record& incoming, TypedRecord& target, std::string_view expectedType,
                     std::int32_t expectedVersion, std::string_view expectedTopic) {
    RequireClassification(incoming, expectedType, expectedVersion, expectedTopic);
    target.GetRecord() = incoming;
}

}  // namespace Weftline::DataModel
