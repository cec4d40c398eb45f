#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/src/FormatKeys.h"
#include "Core/src/StructureFields.h"

/// A video format in its two forms. The first is how formats are stored and how version 1 of an answer shows
/// them; the second, made from it by `ConvertStructure`, is how version 2 shows them. The lists of both forms
/// have the same order.
namespace Weftline::DataModel {

struct RasterSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Frames a second, as a fraction.
struct FrameRate {
    std::int32_t numerator = 0;
    std::int32_t denominator = 0;
};

struct VideoFormat {
    RasterSize rasterSize;
    bool progressive = false;
    std::string chromaSampling;
    std::int32_t bitsPerComponent = 0;
    std::string colorSpace;
    FrameRate frameRate;
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

struct RasterSizeV2 {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

struct FrameRateV2 {
    std::int32_t numerator = 0;
    std::int32_t denominator = 0;
};

struct VideoFormatV2 {
    RasterSizeV2 rasterSize;
    bool progressive = false;
    std::string chromaSampling;
    std::int32_t bitsPerComponent = 0;
    std::string colorSpace;
    std::optional<FrameRateV2> frameRate;
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

template <>
struct StructureFields<RasterSize> {
    static constexpr FieldList kFields{
        Field{Keys::Formats::Width, &RasterSize::width},
        Field{Keys::Formats::Height, &RasterSize::height},
    };
};

template <>
struct StructureFields<FrameRate> {
    static constexpr FieldList kFields{
        Field{Keys::Formats::Numerator, &FrameRate::numerator},
        Field{Keys::Formats::Denominator, &FrameRate::denominator},
    };
};

template <>
struct StructureFields<VideoFormat> {
    static constexpr FieldList kFields{
        Field{Keys::Formats::RasterSize, &VideoFormat::rasterSize},
        Field{Keys::Formats::Progressive, &VideoFormat::progressive},
        Field{Keys::Formats::ChromaSampling, &VideoFormat::chromaSampling},
        Field{Keys::Formats::BitsPerComponent, &VideoFormat::bitsPerComponent},
        Field{Keys::Formats::ColorSpace, &VideoFormat::colorSpace},
        Field{Keys::Formats::FrameRate, &VideoFormat::frameRate},
        Field{Keys::Formats::MaxGOPLength, &VideoFormat::maxGOPLength},
        Field{Keys::Formats::MaxBitRate, &VideoFormat::maxBitRate},
        Field{Keys::Formats::AvgBitRate, &VideoFormat::avgBitRate},
        Field{Keys::Formats::MinBitRate, &VideoFormat::minBitRate},
        Field{Keys::Formats::CompressionFamily, &VideoFormat::compressionFamily},
        Field{Keys::Formats::EncodingName, &VideoFormat::encodingName},
        Field{Keys::Formats::Compressed, &VideoFormat::compressed},
        Field{Keys::Formats::LegacyVCID, &VideoFormat::legacyVCID},
        Field{Keys::Formats::Preset, &VideoFormat::preset},
    };
};

template <>
struct StructureFields<RasterSizeV2> {
    static constexpr FieldList kFields{
        Field{Keys::FormatsV2::Width, &RasterSizeV2::width},
        Field{Keys::FormatsV2::Height, &RasterSizeV2::height},
    };
};

template <>
struct StructureFields<FrameRateV2> {
    static constexpr FieldList kFields{
        Field{Keys::FormatsV2::Numerator, &FrameRateV2::numerator},
        Field{Keys::FormatsV2::Denominator, &FrameRateV2::denominator},
    };
};

template <>
struct StructureFields<VideoFormatV2> {
    static constexpr FieldList kFields{
        Field{Keys::FormatsV2::RasterSize, &VideoFormatV2::rasterSize},
        Field{Keys::FormatsV2::Progressive, &VideoFormatV2::progressive},
        Field{Keys::FormatsV2::ChromaSampling, &VideoFormatV2::chromaSampling},
        Field{Keys::FormatsV2::BitsPerComponent, &VideoFormatV2::bitsPerComponent},
        Field{Keys::FormatsV2::ColorSpace, &VideoFormatV2::colorSpace},
        Field{Keys::FormatsV2::FrameRate, &VideoFormatV2::frameRate},
        Field{Keys::FormatsV2::MaxGOPLength, &VideoFormatV2::maxGOPLength},
        Field{Keys::FormatsV2::MaxBitRate, &VideoFormatV2::maxBitRate},
        Field{Keys::FormatsV2::AvgBitRate, &VideoFormatV2::avgBitRate},
        Field{Keys::FormatsV2::MinBitRate, &VideoFormatV2::minBitRate},
        Field{Keys::FormatsV2::CompressionFamily, &VideoFormatV2::compressionFamily},
        Field{Keys::FormatsV2::EncodingName, &VideoFormatV2::encodingName},
        Field{Keys::FormatsV2::Compressed, &VideoFormatV2::compressed},
        Field{Keys::FormatsV2::LegacyVCID, &VideoFormatV2::legacyVCID},
        Field{Keys::FormatsV2::Preset, &VideoFormatV2::preset},
    };
};

}  // namespace Weftline::DataModel
