#include "farm/workers/Catalogues.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "farm/workers/EmbeddedCatalogues.h"

namespace Quillon::Farm {

namespace {

namespace fs = std::filesystem;

std::string_view BuiltIn(const CatalogueKind& kind) {
    const auto documents = Weftline::Resources::EmbeddedCatalogues();
    const auto found = std::find_if(documents.begin(), documents.end(),
                                    [&kind](const auto& document) { return document.name == kind.document; });
    if (found == documents.end()) {
        throw std::runtime_error("The catalogue \"" + std::string(kind.document) + "\" is not built in.");
    }
    return found->bytes;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    file.exceptions(std::ios::badbit | std::ios::failbit);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Catalogue Read(const CatalogueKind& kind, const std::string& directory) {
    const fs::path path = fs::path(directory) / (std::string(kind.document) + ".json");
    if (directory.empty() || !fs::exists(path)) {
        return Catalogue(kind, BuiltIn(kind));
    }
    try {
        return Catalogue(kind, ReadFile(path));
    } catch (const std::ios_base::failure&) {
        throw std::runtime_error("The catalogue \"" + path.string() + "\" cannot be read.");
    } catch (const std::runtime_error& refused) {
        throw std::runtime_error("The catalogue \"" + path.string() + "\" is refused. " + refused.what());
    }
}

// A name that leads nowhere would otherwise go unnoticed: all catalogues would be those built in.
const std::string& CheckDirectory(const std::string& directory) {
    if (!directory.empty() && !fs::is_directory(directory)) {
        throw std::runtime_error("The catalogue directory \"" + directory + "\" is not there.");
    }
    return directory;
}

}  // namespace

Catalogues::Catalogues(const std::string& directory)
    : videoFormats(Read(CatalogueKinds::kVideoFormats, CheckDirectory(directory))),
      audioFormats(Read(CatalogueKinds::kAudioFormats, directory)),
      exportTypes(Read(CatalogueKinds::kExportTypes, directory)),
      mediaCreationTypes(Read(CatalogueKinds::kMediaCreationTypes, directory)),
      colorSpaces(Read(CatalogueKinds::kColorSpaces, directory)),
      s3dModes(Read(CatalogueKinds::kS3DModes, directory)) {}

}  // namespace Quillon::Farm
