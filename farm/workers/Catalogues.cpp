#include "farm/workers/Catalogues.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "Core/src/Vocabulary.h"
#include "farm/workers/EmbeddedCatalogues.h"

namespace Quillon::Farm {

namespace fs = std::filesystem;
namespace Keys = Weftline::Keys;
using Formats = Weftline::Keys::Formats;

namespace {

using Type = CatalogueField::Type;

constexpr bool kRequired = true;
constexpr bool kOptional = false;

constexpr CatalogueField Named(std::string_view key, Type type = Type::Text, bool isRequired = kRequired) {
    return {"", key, type, isRequired, {key}};
}

constexpr CatalogueField kVideoFields[] = {
    {Formats::RasterSize, Formats::Width, Type::Whole, kRequired, {Keys::RasterWidth}},
    {Formats::RasterSize, Formats::Height, Type::Whole, kRequired, {Keys::RasterHeight}},
    Named(Formats::Progressive, Type::Flag),
    Named(Formats::ChromaSampling),
    Named(Formats::BitsPerComponent, Type::Whole),
    Named(Formats::ColorSpace),
    {Formats::FrameRate, Formats::Numerator, Type::Whole, kRequired, {Keys::RateNumerator}},
    {Formats::FrameRate, Formats::Denominator, Type::Whole, kRequired, {Keys::RateDenominator}},
    Named(Formats::MaxGOPLength, Type::Whole, kOptional),
    Named(Formats::MaxBitRate, Type::Whole, kOptional),
    Named(Formats::AvgBitRate, Type::Whole, kOptional),
    Named(Formats::MinBitRate, Type::Whole, kOptional),
    {"",
     Formats::CompressionFamily,
     Type::Text,
     kRequired,
     {Formats::CompressionFamily, Keys::TarvaleCompression}},
    {"", Formats::EncodingName, Type::Text, kRequired, {Formats::EncodingName, Keys::TarvaleCompression}},
    Named(Formats::Compressed, Type::Flag),
    Named(Formats::LegacyVCID, Type::Whole, kOptional),
    Named(Formats::Preset),
};

constexpr CatalogueField kAudioFields[] = {
    Named(Formats::FileFormat),
    Named(Formats::SampleRate, Type::Whole),
    Named(Formats::BitsPerSample, Type::Whole),
    Named(Keys::TarvaleCompression, Type::Text, kOptional),
};

constexpr CatalogueField kExportTypeFields[] = {
    Named(Keys::GUID),
    Named(Keys::Name),
    Named(Keys::Type),
};

constexpr CatalogueField kMediaCreationTypeFields[] = {Named(Keys::Name)};

constexpr CatalogueField kColorSpaceFields[] = {
    Named(Formats::Name),
    Named(Formats::BitDepth),
    Named(Formats::MinReference),
    Named(Formats::MaxReference),
    Named(Formats::TransferCharacteristicName),
    Named(Formats::TransferCharacteristicUid),
    Named(Formats::ColorPrimariesName),
    Named(Formats::ColorPrimariesUid),
};

constexpr CatalogueField kS3DModeFields[] = {
    Named(Keys::S3DMode),
    Named(Keys::GUID, Type::Text, kOptional),
};

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

namespace CatalogueKinds {

const CatalogueKind kVideoFormats{"VideoFormats", Keys::FormatsList, Keys::FoundFormats, kVideoFields};
const CatalogueKind kAudioFormats{"AudioFormats", Keys::FormatsList, Keys::FoundFormats, kAudioFields};
const CatalogueKind kExportTypes{"ExportTypes", Keys::ExportTypesList, Keys::FoundExportTypes,
                                 kExportTypeFields};
const CatalogueKind kMediaCreationTypes{"MediaCreationTypes", "MediaCreationTypesList",
                                        "FoundMediaCreationTypes", kMediaCreationTypeFields};
const CatalogueKind kColorSpaces{"ColorSpaces", "ColorSpacesList", "FoundColorSpaces", kColorSpaceFields};
const CatalogueKind kS3DModes{"S3DModes", "S3DModesList", "FoundS3DModes", kS3DModeFields};

}  // namespace CatalogueKinds

Catalogues::Catalogues(const std::string& directory)
    : videoFormats(Read(CatalogueKinds::kVideoFormats, CheckDirectory(directory))),
      audioFormats(Read(CatalogueKinds::kAudioFormats, directory)),
      exportTypes(Read(CatalogueKinds::kExportTypes, directory)),
      mediaCreationTypes(Read(CatalogueKinds::kMediaCreationTypes, directory)),
      colorSpaces(Read(CatalogueKinds::kColorSpaces, directory)),
      s3dModes(Read(CatalogueKinds::kS3DModes, directory)) {}

}  // namespace Quillon::Farm
