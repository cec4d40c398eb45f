#pragma once

#include <array>
#include <span>
#include <string_view>

namespace Quillon::Farm {

/// One value of the entries of a catalogue.
struct CatalogueField {
    enum class Type { Text, Whole, Flag };

    std::string_view within;  ///< the key of the child that holds it; empty: the entry itself
    std::string_view key;
    Type type = Type::Text;
    bool isRequired = true;
    /// The keys under which a request asks for it. Where one key asks for several fields of an entry, one of
    /// them has to match.
    std::array<std::string_view, 2> criteria{};
};

/// What makes the entries of one catalogue differ from those of another. Entries may have further values;
/// these are handed out and never looked at.
struct CatalogueKind {
    std::string_view document;  ///< the name of its file, without ".json"
    std::string_view listKey;   ///< of the entries in an answer
    std::string_view countKey;  ///< of their number
    std::span<const CatalogueField> fields;
};

namespace CatalogueKinds {
extern const CatalogueKind kVideoFormats;
extern const CatalogueKind kAudioFormats;
extern const CatalogueKind kExportTypes;
extern const CatalogueKind kMediaCreationTypes;
extern const CatalogueKind kColorSpaces;
extern const CatalogueKind kS3DModes;
}  // namespace CatalogueKinds

}  // namespace Quillon::Farm
