#pragma once

#include <string_view>

namespace Weftline {

/// Video and audio formats and colour spaces, as they are stored, asked for and answered in version 1.
namespace Keys::Formats {
inline constexpr std::string_view AvgBitRate = "AvgBitRate";
inline constexpr std::string_view BitsPerComponent = "BitsPerComponent";
inline constexpr std::string_view ChromaSampling = "ChromaSampling";
inline constexpr std::string_view ColorSpace = "ColorSpace";
inline constexpr std::string_view Compressed = "Compressed";
inline constexpr std::string_view CompressionFamily = "CompressionFamily";
inline constexpr std::string_view Denominator = "Denominator";
inline constexpr std::string_view EncodingName = "EncodingName";
inline constexpr std::string_view FrameRate = "FrameRate";
inline constexpr std::string_view Height = "Height";
inline constexpr std::string_view LegacyVCID = "LegacyVCID";
inline constexpr std::string_view MaxBitRate = "MaxBitRate";
inline constexpr std::string_view MaxGOPLength = "MaxGOPLength";
inline constexpr std::string_view MinBitRate = "MinBitRate";
inline constexpr std::string_view Numerator = "Numerator";
inline constexpr std::string_view Preset = "Preset";
inline constexpr std::string_view Progressive = "Progressive";
inline constexpr std::string_view RasterSize = "RasterSize";
inline constexpr std::string_view Width = "Width";

inline constexpr std::string_view BitsPerSample = "BitsPerSample";
inline constexpr std::string_view FileFormat = "FileFormat";
inline constexpr std::string_view SampleRate = "SampleRate";

inline constexpr std::string_view BitDepth = "BitDepth";
inline constexpr std::string_view ColorPrimariesName = "ColorPrimariesName";
inline constexpr std::string_view ColorPrimariesUid = "ColorPrimariesUid";
inline constexpr std::string_view MaxReference = "MaxReference";
inline constexpr std::string_view MinReference = "MinReference";
inline constexpr std::string_view Name = "Name";
inline constexpr std::string_view TransferCharacteristicName = "TransferCharacteristicName";
inline constexpr std::string_view TransferCharacteristicUid = "TransferCharacteristicUid";
}  // namespace Keys::Formats

/// The same formats in version 2 of an answer.
namespace Keys::FormatsV2 {
inline constexpr std::string_view AvgBitRate = "avgBitRate";
inline constexpr std::string_view BitsPerComponent = "bitsPerComponent";
inline constexpr std::string_view ChromaSampling = "chromaSampling";
inline constexpr std::string_view ColorSpace = "colorSpace";
inline constexpr std::string_view Compressed = "compressed";
inline constexpr std::string_view CompressionFamily = "compressionFamily";
inline constexpr std::string_view Denominator = "denominator";
inline constexpr std::string_view EncodingName = "encodingName";
inline constexpr std::string_view FrameRate = "frameRate";
inline constexpr std::string_view Height = "height";
inline constexpr std::string_view LegacyVCID = "legacyVCID";
inline constexpr std::string_view MaxBitRate = "maxBitRate";
inline constexpr std::string_view MaxGOPLength = "maxGOPLength";
inline constexpr std::string_view MinBitRate = "minBitRate";
inline constexpr std::string_view Numerator = "numerator";
inline constexpr std::string_view Preset = "preset";
inline constexpr std::string_view Progressive = "progressive";
inline constexpr std::string_view RasterSize = "rasterSize";
inline constexpr std::string_view Width = "width";

inline constexpr std::string_view BitDepth = "bitDepth";
inline constexpr std::string_view FileFormat = "fileFormat";
inline constexpr std::string_view SampleRate = "sampleRate";
}  // namespace Keys::FormatsV2

}  // namespace Weftline
