#include "handlers/admin/WeftlineJobKinds.h"

#include "Core/src/JobKinds.h"

namespace Weftline::Services::Scheduler {

const std::set<std::string>& WeftlineJobKinds() {
    // Leaked on purpose: a handler may still be listing jobs while the process ends.
    static const auto* const kinds = new std::set<std::string>{
        std::string(JobKinds::Render),
        std::string(JobKinds::Transcode),
        std::string(JobKinds::Consolidate),
        std::string(JobKinds::Mixdown),
        std::string(JobKinds::Export),
        std::string(JobKinds::DataExtract),
        std::string(JobKinds::ProxyCreation),
        std::string(JobKinds::Relink),
        std::string(JobKinds::Procedure),
        std::string(JobKinds::AudioExtract),
        std::string(JobKinds::FileToFileConversion),
        std::string(JobKinds::SpeechToText),
    };
    return *kinds;
}

}  // namespace Weftline::Services::Scheduler
