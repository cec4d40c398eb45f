#pragma once

#include <string_view>

namespace Weftline::Keys {

/// Video and audio formats and colour spaces, as they are stored, asked for and answered in version 1. A
/// type, as the next is, so that one list of fields serves both sets of keys.
struct Formats {
    static constexpr std::string_view AvgBitRate = "AvgBitRate";
    static constexpr std::string_view BitsPerComponent = "BitsPerComponent";
    static constexpr std::string_view ChromaSampling = "ChromaSampling";
    static constexpr std::string_view ColorSpace = "ColorSpace";
    static constexpr std::string_view Compressed = "Compressed";
    static constexpr std::string_view CompressionFamily = "CompressionFamily";
    static constexpr std::string_view Denominator = "Denominator";
    static constexpr std::string_view EncodingName = "EncodingName";
    static constexpr std::string_view FrameRate = "FrameRate";
    static constexpr std::string_view Height = "Height";
    static constexpr std::string_view LegacyVCID = "LegacyVCID";
    static constexpr std::string_view MaxBitRate = "MaxBitRate";
    static constexpr std::string_view MaxGOPLength = "MaxGOPLength";
    static constexpr std::string_view MinBitRate = "MinBitRate";
    static constexpr std::string_view Numerator = "Numerator";
    static constexpr std::string_view Preset = "Preset";
    static constexpr std::string_view Progressive = "Progressive";
    static constexpr std::string_view RasterSize = "RasterSize";
    static constexpr std::string_view Width = "Width";

    static constexpr std::string_view BitsPerSample = "BitsPerSample";
    static constexpr std::string_view FileFormat = "FileFormat";
    static constexpr std::string_view SampleRate = "SampleRate";

    static constexpr std::string_view BitDepth = "BitDepth";
    static constexpr std::string_view ColorPrimariesName = "ColorPrimariesName";
    static constexpr std::string_view ColorPrimariesUid = "ColorPrimariesUid";
    static constexpr std::string_view MaxReference = "MaxReference";
    static constexpr std::string_view MinReference = "MinReference";
    static constexpr std::string_view Name = "Name";
    static constexpr std::string_view TransferCharacteristicName = "TransferCharacteristicName";
    static constexpr std::string_view TransferCharacteristicUid = "TransferCharacteristicUid";
};

/// The same formats in version 2 of an answer.
struct FormatsV2 {
    static constexpr std::string_view AvgBitRate = "avgBitRate";
    static constexpr std::string_view BitsPerComponent = "bitsPerComponent";
    static constexpr std::string_view ChromaSampling = "chromaSampling";
    static constexpr std::string_view ColorSpace = "colorSpace";
    static constexpr std::string_view Compressed = "compressed";
    static constexpr std::string_view CompressionFamily = "compressionFamily";
    static constexpr std::string_view Denominator = "denominator";
    static constexpr std::string_view EncodingName = "encodingName";
    static constexpr std::string_view FrameRate = "frameRate";
    static constexpr std::string_view Height = "height";
    static constexpr std::string_view LegacyVCID = "legacyVCID";
    static constexpr std::string_view MaxBitRate = "maxBitRate";
    static constexpr std::string_view MaxGOPLength = "maxGOPLength";
    static constexpr std::string_view MinBitRate = "minBitRate";
    static constexpr std::string_view Numerator = "numerator";
    static constexpr std::string_view Preset = "preset";
    static constexpr std::string_view Progressive = "progressive";
    static constexpr std::string_view RasterSize = "rasterSize";
    static constexpr std::string_view Width = "width";

    static constexpr std::string_view BitDepth = "bitDepth";
    static constexpr std::string_view FileFormat = "fileFormat";
    static constexpr std::string_view SampleRate = "sampleRate";
};

}  // namespace Weftline::Keys
