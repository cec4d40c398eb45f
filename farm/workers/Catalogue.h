#pragma once

#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"

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

/// The entries of one catalogue. Constant after construction, so any thread may ask.
class Catalogue {
public:
    /// Reads the document: a JSON array of objects. Throws `std::runtime_error` that says what is wrong with
    /// it, and in which entry, counted from 0.
    Catalogue(const CatalogueKind& kind, std::string_view json);

    const CatalogueKind& GetKind() const { return m_kind; }

    /// The entries, in the order of the document, in which each criterion has the value asked for. Other keys
    /// of the request, and criteria that are null, ask for nothing.
    std::vector<CoreServices::Parameters> Find(const CoreServices::Parameters& request) const;

private:
    const CatalogueKind& m_kind;
    std::vector<CoreServices::Parameters> m_entries;
};

}  // namespace Quillon::Farm
