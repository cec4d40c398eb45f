#pragma once

#include <cstdint>
#include <string>

#include "Core/src/FormatKeys.h"
#include "Core/src/StructureFields.h"

/// An audio format in its two forms, as with `VideoFormat`.
namespace Weftline::DataModel {

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

}  // namespace Weftline::DataModel
