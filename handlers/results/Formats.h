#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "Core/src/FormatKeys.h"
#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"

/// Formats in their two forms, and the answers that list them. The first form is how formats are stored and
/// how version 1 of an answer shows them; the second, made from it by `ConvertStructure`, is how version 2
/// shows them. The fields of both have the same order.
namespace Weftline::DataModel {

/// `Names` is the set of keys: `Keys::Formats` for the first form, `Keys::FormatsV2` for the second.
template <class Names>
struct RasterSizeAs {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Frames a second, as a fraction.
template <class Names>
struct FrameRateAs {
    std::int32_t numerator = 0;
    std::int32_t denominator = 0;
};

template <class Names>
struct VideoFormatAs {
    /// Always there in the first form.
    using MaybeFrameRate = std::conditional_t<std::is_same_v<Names, Keys::Formats>, FrameRateAs<Names>,
                                              std::optional<FrameRateAs<Names>>>;

    RasterSizeAs<Names> rasterSize;
    bool progressive = false;
    std::string chromaSampling;
    std::int32_t bitsPerComponent = 0;
    std::string colorSpace;
    MaybeFrameRate frameRate;
    std::optional<std::int32_t> maxGOPLength;
    std::optional<std::int32_t> maxBitRate;
    std::optional<std::int32_t> avgBitRate;
    std::optional<std::int32_t> minBitRate;
    std::string compressionFamily;
    std::string encodingName;
    bool compressed = false;
    std::optional<std::int32_t> legacyVCID;
    std::string preset;
};

using VideoFormat = VideoFormatAs<Keys::Formats>;
using VideoFormatV2 = VideoFormatAs<Keys::FormatsV2>;

struct AudioFormat {
    std::string fileFormat;
    std::int32_t sampleRate = 0;
    std::int32_t bitsPerSample = 0;
};

struct AudioFormatV2 {
    std::string fileFormat;
    std::int32_t sampleRate = 0;
    std::int32_t bitDepth = 0;
};

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

template <class Names>
struct StructureFields<RasterSizeAs<Names>> {
    static constexpr FieldList kFields{
        Field{Names::Width, &RasterSizeAs<Names>::width},
        Field{Names::Height, &RasterSizeAs<Names>::height},
    };
};

template <class Names>
struct StructureFields<FrameRateAs<Names>> {
    static constexpr FieldList kFields{
        Field{Names::Numerator, &FrameRateAs<Names>::numerator},
        Field{Names::Denominator, &FrameRateAs<Names>::denominator},
    };
};

template <class Names>
struct StructureFields<VideoFormatAs<Names>> {
    static constexpr FieldList kFields{
        Field{Names::RasterSize, &VideoFormatAs<Names>::rasterSize},
        Field{Names::Progressive, &VideoFormatAs<Names>::progressive},
        Field{Names::ChromaSampling, &VideoFormatAs<Names>::chromaSampling},
        Field{Names::BitsPerComponent, &VideoFormatAs<Names>::bitsPerComponent},
        Field{Names::ColorSpace, &VideoFormatAs<Names>::colorSpace},
        Field{Names::FrameRate, &VideoFormatAs<Names>::frameRate},
        Field{Names::MaxGOPLength, &VideoFormatAs<Names>::maxGOPLength},
        Field{Names::MaxBitRate, &VideoFormatAs<Names>::maxBitRate},
        Field{Names::AvgBitRate, &VideoFormatAs<Names>::avgBitRate},
        Field{Names::MinBitRate, &VideoFormatAs<Names>::minBitRate},
        Field{Names::CompressionFamily, &VideoFormatAs<Names>::compressionFamily},
        Field{Names::EncodingName, &VideoFormatAs<Names>::encodingName},
        Field{Names::Compressed, &VideoFormatAs<Names>::compressed},
        Field{Names::LegacyVCID, &VideoFormatAs<Names>::legacyVCID},
        Field{Names::Preset, &VideoFormatAs<Names>::preset},
    };
};

template <>
struct StructureFields<AudioFormat> {
    static constexpr FieldList kFields{
        Field{Keys::Formats::FileFormat, &AudioFormat::fileFormat},
        Field{Keys::Formats::SampleRate, &AudioFormat::sampleRate},
        Field{Keys::Formats::BitsPerSample, &AudioFormat::bitsPerSample},
    };
};

template <>
struct StructureFields<AudioFormatV2> {
    static constexpr FieldList kFields{
        Field{Keys::FormatsV2::FileFormat, &AudioFormatV2::fileFormat},
        Field{Keys::FormatsV2::SampleRate, &AudioFormatV2::sampleRate},
        Field{Keys::FormatsV2::BitDepth, &AudioFormatV2::bitDepth},
    };
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
