#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "EmbeddedResources.h"
#include "HandlerDocumentation.h"

namespace Weftline::Services {
namespace {

using CoreServices::Parameters;

/// The values under the keys of a list, both separated by blanks; "a/b" goes into a child, texts lose their
/// quotes, what is absent shows as "-".
std::string Line(const Parameters& tree, const std::string& paths) {
    std::ostringstream line;
    std::istringstream list(paths);
    for (std::string key; list >> key;) {
        Parameters parent = tree;
        for (auto slash = key.find('/'); slash != std::string::npos; slash = key.find('/')) {
            parent = parent.GetChildParameters(key.substr(0, slash));
            key.erase(0, slash + 1);
        }
        std::string text;
        if (!parent.GetParameter(key, text)) {
            Parameters value;
            text = value.CopyValue(parent, key, "") ? value.toJSON().substr(4) : "-}";
            text.pop_back();
        }
        line << (line.tellp() > 0 ? " " : "") << text;
    }
    return line.str();
}

constexpr char kVideoKeys[] =
    "RasterSize/Width RasterSize/Height Progressive BitsPerComponent ColorSpace FrameRate/Numerator "
    "FrameRate/Denominator MaxGOPLength MaxBitRate AvgBitRate MinBitRate LegacyVCID CompressionFamily "
    "EncodingName Preset";
constexpr char kStandard[] = " 8D47342F-56DD-4B10-828A-C31080324229 ";
constexpr char kHigh[] = " DAB8B683-8476-4478-8F6E-2DA6F50DE395 ";

TEST(ResourceDocuments, VideoFormatsAreAsTabled) {
    const std::string xavc =
        "XAVC 4K Intra VBR Class 480 XAVC 4K Intra VBR Class 480 AVC/Intra/4K/480/XAVC/VBR";
    struct Row {
        std::string name, format;
    };
    const Row rows[] = {
        {"IDR_TRANSCODE_SD",
         std::string("720 248 false 10") + kStandard +
             "30000 1001 0 50000000 50000000 50000000 553 J2K NTSCi 29.97 J2K NTSCi 29.97 "},
        {"IDR_TRANSCODE_HD",
         std::string("1920 1080 false 10") + kHigh +
             "30000 1001 30 37499904 25000000 0 - AVC Long GOP 25 Panasonic AVC Long-GOP G25 "
             "(4:2:2 High Profile) AVC/Panasonic/G25"},
        {"IDR_TRANSCODE_UHD",
         std::string("3840 2160 true 10") + kHigh + "60000 1001 1 959938560 0 0 - " + xavc},
        {"IDR_MIXDOWN_SD",
         std::string("720 296 false 10") + kStandard + "25 1 0 0 0 0 2022 1:1 10b 1:1 10b "},
        {"IDR_MIXDOWN_HD",
         std::string("1920 1080 true 8") + kHigh +
             "24000 1001 12 50000000 50000000 50000000 4077 XDCAM HD 50Mbits XDCAM HD 50Mbits "},
        {"IDR_MIXDOWN_UHD",
         std::string("3840 2160 true 10") + kHigh + "50000 1000 1 799948800 0 0 - " + xavc},
        {"IDR_VIDEO_PRECOMPUTE_SD",
         std::string("720 248 false 10") + kStandard + "30000 1001 0 0 0 0 2021 1:1 10b 1:1 10b "},
        {"IDR_VIDEO_PRECOMPUTE_HD", std::string("1920 540 false 10") + kHigh +
                                        "30000 1001 0 112200008 112200008 112200008 3415 AVC-Intra 100 "
                                        "AVC-Intra 100 "},
        {"IDR_VIDEO_PRECOMPUTE_UHD", std::string("3840 2160 true 10") + kHigh +
                                         "60000 1001 0 0 0 0 - Ravex HQX Ravex HQX ravex/hr/1271/422"},
        {"IDR_SOURCE_AVAILABILITY",
         std::string("1920 540 false 8") + kHigh +
             "30000 1001 15 50000000 50000000 50000000 4073 XDCAM HD 50Mbits XDCAM HD 50Mbits "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Parameters document = LoadJsonDocumentation(row.name);
        const bool render = document.HasParameter("VideoFormatDescriptor");
        const Parameters format =
            document.GetChildParameters(render ? "VideoFormatDescriptor" : "TargetVideoFormatDescriptor");
        EXPECT_EQ(Line(format, kVideoKeys), row.format);
        EXPECT_EQ(Line(format, "ChromaSampling Compressed"), "F546A569-9077-4E44-A115-048C49293828 true");
    }
}

TEST(ResourceDocuments, OtherValuesAreAsTabled) {
    struct Row {
        std::string name, keys, values;
    };
    const std::string audio =
        "TargetAudioFormatDescriptor/FileFormat TargetAudioFormatDescriptor/SampleRate "
        "TargetAudioFormatDescriptor/BitsPerSample";
    const std::string space = "TargetLUTColorSpaceMetadata_optional/ColorSpace/";
    const std::string lut = space + "Name " + space + "TransferCharacteristicUid " + space +
                            "ColorPrimariesUid TargetAudioTrackMapping";
    const std::string rate = "ProjectFormat/TargetRate/";
    const std::string frame = "ProjectFormat/TargetFrame/";
    const std::string project = rate + "PlayFrameRate/Numerator " + rate + "TapeFrameRate/Numerator " + rate +
                                "MaskBits " + rate + "FilmType " + frame + "FrameHeight " + frame +
                                "RasterHeight " + frame + "NumFields " + frame + "FieldTopness " + frame +
                                "BoundBox/PositionX/Numerator " + frame +
                                "BoundBox/Height/Numerator ProjectFormat/FramesPerBoundary StartOffset";
    const std::string control = "DynamicRelinkParams/DynRelinkControls/cbx";
    const std::string controls =
        control + "AllowMixedFrameRates/index " + control + "NoMatch/text " + control +
        "RelinkMethod/textMode " + control + "Raster/text " + control + "AudioRelinkMethod/text " + control +
        "AudioCodecFamily/text DynamicRelinkParams/ProjectParams/editRate Delay Attempts";
    const std::string rec709 =
        "04010101-0102-0000-060e-2b3404010101 04010101-0303-0000-060e-2b3404010106 a0=0;";
    const Row rows[] = {
        {"IDR_TRANSCODE_UHD", audio, "FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60 44100 24"},
        {"IDR_MIXDOWN_SD", audio, "A7F8178D-8C20-42F0-8917-566140CEF05D 48000 16"},
        {"IDR_SOURCE_AVAILABILITY", audio, "FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60 48000 16"},
        {"IDR_TRANSCODE_SD",
         "TargetVideoDirectory ReformattingOption_optional AspectRatio_optional/Numerator SkipData "
         "HandleLength_optional ConvertFrameRate MakeNewName PreservePhysicalSourceMob",
         "C:\\temp 27BB454F-A1A5-488F-A8A4-9AB5BD3B0AB6 4 false 2 true true false"},
        {"IDR_MIXDOWN_HD", lut, "Rec.709 [video levels] " + rec709},
        {"IDR_MIXDOWN_UHD", lut,
         "HLG / Rec. 2020 04010101-010b-0000-060e-2b340401010d 04010101-0304-0000-060e-2b340401010d a0=0;"},
        {"IDR_VIDEO_PRECOMPUTE_SD", project, "30000 30000 2147483648 0 486 486 2 1 -800 900 1 -1"},
        {"IDR_VIDEO_PRECOMPUTE_HD", project, "30000 30000 2147483648 0 1080 1080 2 1 -800 900 1 -1"},
        {"IDR_VIDEO_PRECOMPUTE_UHD", project, "60000 60000 2147483648 64 2160 2160 1 0 -1600 1800 2 -1"},
        {"IDR_DR_HIGHEST_QUALITY", controls, "1 Offline.* regex - Highest Quality.* - 60000/1001 5 10"},
        {"IDR_DR_SPECIFIC_RESOLUTION", controls,
         "1 Offline.* regex 1080i Specific Quality.* PCM 60000/1001 5 10"},
        {"IDR_GET_UNIQUE_EXPORT_PLUGINS", "type", "LXA"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Line(LoadJsonDocumentation(row.name), row.keys), row.values) << row.name;
    }
}

TEST(ResourceDocuments, EighteenAreCarriedAndAllAreJson) {
    const auto resources = Resources::EmbeddedResources();
    EXPECT_EQ(resources.size(), 18U);
    EXPECT_TRUE(std::is_sorted(resources.begin(), resources.end(),
                               [](const auto& left, const auto& right) { return left.name < right.name; }));
    for (const Resources::EmbeddedResource& resource : resources) {
        EXPECT_NO_THROW(LoadJsonDocumentation(std::string(resource.name))) << resource.name;
        EXPECT_EQ(resource.language, 1033);
    }
    EXPECT_TRUE(LoadJsonDocumentation("IDR_BRING_PENDING_MOBS_ONLINE").IsEmpty());
    EXPECT_EQ(LoadJsonDocumentation("IDR_DATAEXTRACT_HD").GetTopLevelParameterNames(),
              std::vector<std::string>{"TargetDataDirectory"});
}

}  // namespace
}  // namespace Weftline::Services
