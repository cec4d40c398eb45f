#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Core/src/RecordField.h"
#include "Core/src/wf_Record.h"

namespace Weftline::DataModel {

/// The collection, followed by "-" and the suffix where there is one.
std::string MakeTopic(std::string_view collection, std::string_view suffix);

/// The text under `field.key` in the JSON that `field.scope` picks, or `defaultValue` where there is no text.
/// Throws `std::runtime_error` when the record's JSON is none.
std::string GetFieldString(const Record& record, const RecordField& field, const std::string& defaultValue);

/// A record whose classification is fixed at compile time and whose JSON is handled as text. It owns its
/// record. One thread at a time.
///
/// `TypeText` and `CollectionText` are compile-time strings of Boost.Hana.
template <class TypeText, std::int32_t kVersion, class CollectionText>
class DataRecord {
public:
    /// An empty record of the collection, or of its suffixed topic where `topicSuffix` is not empty.
    explicit DataRecord(std::string_view topicSuffix)
        : m_record(std::string(TypeName()), Version(), MakeTopic(Collection(), topicSuffix)) {}
    DataRecord(const DataRecord&) = default;
    DataRecord(DataRecord&&) noexcept = default;
    DataRecord& operator=(const DataRecord&) = default;
    DataRecord& operator=(DataRecord&&) noexcept = default;
    virtual ~DataRecord() = default;

    static constexpr std::string_view TypeName() noexcept { return TypeText::c_str(); }
    static constexpr std::int32_t Version() noexcept { return kVersion; }
    static constexpr std::string_view Collection() noexcept { return CollectionText::c_str(); }

    /// As the free function above, on this record.
    std::string GetFieldString(const RecordField& field, const std::string& defaultValue) const {
        return DataModel::GetFieldString(m_record, field, defaultValue);
    }

    const Record& GetRecord() const noexcept { return m_record; }
    Record& GetRecord() noexcept { return m_record; }

private:
    Record m_record;
};

}  // namespace Weftline::DataModel
