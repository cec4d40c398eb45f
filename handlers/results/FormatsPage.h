#pragma once

#include <cstdint>
#include <vector>

#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"

/// What the answers about formats consist of. `Format` is either form of a format.
namespace Weftline::DataModel {

/// A whole result.
template <class Format>
struct FormatsList {
    std::vector<Format> formats;
    std::int32_t foundFormats = 0;
};

/// One page of a result.
template <class Format>
struct FormatsPage {
    std::vector<Format> formats;
    std::int32_t foundFormats = 0;  ///< on this page
    std::int32_t pageOffset = 0;    ///< in pages
    std::int32_t pageSize = 0;
};

template <class Format>
struct StructureFields<FormatsList<Format>> {
    static constexpr FieldList kFields{
        Field{Keys::FormatsList, &FormatsList<Format>::formats},
        Field{Keys::FoundFormats, &FormatsList<Format>::foundFormats},
    };
};

template <class Format>
struct StructureFields<FormatsPage<Format>> {
    static constexpr FieldList kFields{
        Field{Keys::FormatsList, &FormatsPage<Format>::formats},
        Field{Keys::FoundFormats, &FormatsPage<Format>::foundFormats},
        Field{Keys::PageOffset, &FormatsPage<Format>::pageOffset},
        Field{Keys::PageSize, &FormatsPage<Format>::pageSize},
    };
};

}  // namespace Weftline::DataModel
