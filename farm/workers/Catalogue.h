#pragma once

#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"
#include "farm/workers/CatalogueKinds.h"

namespace Quillon::Farm {

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
