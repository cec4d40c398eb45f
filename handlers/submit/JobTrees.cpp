#include "handlers/submit/JobTrees.h"

#include "Core/src/Vocabulary.h"

namespace Weftline::Services {

using CoreServices::Parameters;

JobTrees SplitIntoJobTrees(const Parameters& submission) {
    JobTrees trees{submission, submission, Parameters()};
    for (const auto& key : {Keys::JobParams, Keys::JobParamsCapital}) {
        if (submission.HasParameter(key)) {
            trees.runCase.SetChildParameters(key, Parameters());
            submission.GetChildParameters(key, trees.blueprint);
            break;
        }
    }
    return trees;
}

}  // namespace Weftline::Services
