#include "Core/src/JobKinds.h"

#include <algorithm>

namespace Weftline {
namespace {

struct TaskName {
    std::string_view taskKind;
    std::string_view displayName;
};

constexpr std::array kTaskNames{
    TaskName{TaskKinds::Transcode, "Transcode"},
    TaskName{TaskKinds::Consolidate, "Consolidate"},
    TaskName{TaskKinds::RenderVideo, "Video precompute"},
    TaskName{TaskKinds::RenderAudio, "Audio precompute"},
    TaskName{TaskKinds::Mixdown, "Mixdown"},
    TaskName{TaskKinds::MixdownVideo, "VideoMixdown"},
    TaskName{TaskKinds::MixdownAudio, "AudioMixdown"},
    TaskName{TaskKinds::MixdownData, "DataMixdown"},
    TaskName{TaskKinds::Export, "Export"},
    TaskName{TaskKinds::DataExtract, "DataExtract"},
    TaskName{TaskKinds::ProxyCreation, "ProxyCreation"},
};

}  // namespace

std::string_view TaskDisplayName(std::string_view taskKind) {
    const auto row = std::ranges::find(kTaskNames, taskKind, &TaskName::taskKind);
    return row == kTaskNames.end() ? std::string_view{} : row->displayName;
}

}  // namespace Weftline
