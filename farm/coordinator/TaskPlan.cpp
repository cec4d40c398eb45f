#include "farm/coordinator/TaskPlan.h"

#include <algorithm>
#include <array>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"

namespace Quillon::Farm {

namespace {

namespace Submit = Weftline::SubmitOperations;
namespace TaskKinds = Weftline::TaskKinds;
using Weftline::ServiceNames::MediaWorker;
using Weftline::ServiceNames::MetadataWorker;

// The media themselves are worked on once a metadata worker has seen what there is to do.
constexpr TaskPlan Media(const Submit::Row& operation, std::string_view taskKind) {
    return {operation.jobKind, {MetadataWorker, operation.evalTaskKind}, {MediaWorker, taskKind}};
}

// Where no media are touched, the evaluation is the whole job.
constexpr TaskPlan Metadata(const Submit::Row& operation) {
    return {operation.jobKind, {}, {MetadataWorker, operation.evalTaskKind}};
}

constexpr std::array kPlans{
    Media(Submit::kTranscode, TaskKinds::Transcode),
    Media(Submit::kConsolidate, TaskKinds::Consolidate),
    Media(Submit::kMixdown, TaskKinds::Mixdown),
    Media(Submit::kRender, TaskKinds::RenderVideo),
    Media(Submit::kExport, TaskKinds::Export),
    Media(Submit::kDataExtract, TaskKinds::DataExtract),
    Media(Submit::kProxyCreation, TaskKinds::ProxyCreation),
    Metadata(Submit::kDynamicRelink),
    Metadata(Submit::kVerifyAccess),
    Metadata(Submit::kExportQuery),
    Metadata(Submit::kVideoFormatsQuery),
    Metadata(Submit::kAudioFormatsQuery),
    Metadata(Submit::kSourceAvailability),
    Metadata(Submit::kMobIDsFromContainer),
    Metadata(Submit::kSuitableMastersQuery),
};

}  // namespace

const TaskPlan* FindTaskPlan(std::string_view jobKind) {
    const auto plan = std::ranges::find(kPlans, jobKind, &TaskPlan::jobKind);
    return plan == kPlans.end() ? nullptr : &*plan;
}

}  // namespace Quillon::Farm
