#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Core/src/DataRecord.h"
#include "Core/src/wf_Record.h"

namespace Weftline::DataModel {

/// A record whose classification is fixed at compile time and whose JSON is the form of two plain structures,
/// one private and one public. The structures are the truth: the record's two texts are made from them when
/// the derived class is turned into a plain `Record`, and not before. It owns all three. One thread at a
/// time.
///
/// `TypeText` and `CollectionText` are compile-time strings of Boost.Hana.
template <class TypeText, std::int32_t kVersion, class CollectionText, class PrivateStructure,
          class PublicStructure>
class DataRecordV2 {
public:
    /// Default structures and a record of the collection, or of its suffixed topic where `topicSuffix` is not
    /// empty.
    explicit DataRecordV2(std::string_view topicSuffix)
        : m_record(std::string(TypeName()), Version(), MakeTopic(Collection(), topicSuffix)) {}
    DataRecordV2(const DataRecordV2&) = default;
    DataRecordV2(DataRecordV2&&) noexcept = default;
    DataRecordV2& operator=(const DataRecordV2&) = default;
    DataRecordV2& operator=(DataRecordV2&&) noexcept = default;
    virtual ~DataRecordV2() = default;

    static constexpr std::string_view TypeName() noexcept { return TypeText::c_str(); }
    static constexpr std::int32_t Version() noexcept { return kVersion; }
    static constexpr std::string_view Collection() noexcept { return CollectionText::c_str(); }

    const Record& GetRecord() const noexcept { return m_record; }
    Record& GetRecord() noexcept { return m_record; }

protected:
    const PrivateStructure& PrivateData() const noexcept { return m_privateData; }
    PrivateStructure& PrivateData() noexcept { return m_privateData; }
    const PublicStructure& PublicData() const noexcept { return m_publicData; }
    PublicStructure& PublicData() noexcept { return m_publicData; }

private:
    PrivateStructure m_privateData;
    PublicStructure m_publicData;
    Record m_record;
};

}  // namespace Weftline::DataModel
