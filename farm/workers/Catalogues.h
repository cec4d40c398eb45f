#pragma once

#include <string>

#include "farm/workers/Catalogue.h"

namespace Quillon::Farm {

namespace CatalogueKinds {
extern const CatalogueKind kVideoFormats;
extern const CatalogueKind kAudioFormats;
extern const CatalogueKind kExportTypes;
extern const CatalogueKind kMediaCreationTypes;
extern const CatalogueKind kColorSpaces;
extern const CatalogueKind kS3DModes;
}  // namespace CatalogueKinds

/// All catalogues of the farm, read once at the start. Constant, and shared by the handlers that use them.
struct Catalogues {
    /// Those that are built in; where `directory` is not empty, a file there of the same name
    /// ("VideoFormats.json") comes in the place of the one built in. Throws `std::runtime_error` that names
    /// the directory or file that cannot be used.
    explicit Catalogues(const std::string& directory);

    Catalogue videoFormats;
    Catalogue audioFormats;
    Catalogue exportTypes;
    Catalogue mediaCreationTypes;
    Catalogue colorSpaces;
    Catalogue s3dModes;
};

}  // namespace Quillon::Farm
