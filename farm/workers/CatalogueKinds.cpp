#include "farm/workers/CatalogueKinds.h"

#include "Core/src/Vocabulary.h"

namespace Quillon::Farm {

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

}  // namespace Quillon::Farm
