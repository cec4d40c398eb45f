#include "farm/coordinator/JobTicket.h"

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"

namespace Quillon::Farm {

namespace ServiceNames = Weftline::ServiceNames;
namespace JobStates = Weftline::JobStates;
using Operation = Weftline::SubmitOperations::Row;

namespace {

// The media themselves are worked on once a metadata worker has seen what there is to do. Where no media are
// touched, the evaluation is the whole job.
bool TouchesMedia(const Operation& operation) {
    return !operation.mediaTask.kind.empty();
}

}  // namespace

Stage NextStage(const Operation& operation, std::string_view jobState) {
    const bool isEvaluated = jobState == JobStates::Evaluated || jobState == JobStates::Tasked;
    return TouchesMedia(operation) && !isEvaluated ? Stage::Evaluation : Stage::Work;
}

TaskStep JobTicket::Step() const {
    return stage == Stage::Work && TouchesMedia(*operation)
               ? TaskStep{ServiceNames::MediaWorker, operation->mediaTask.kind}
               : TaskStep{ServiceNames::MetadataWorker, operation->evalTaskKind};
}

}  // namespace Quillon::Farm
