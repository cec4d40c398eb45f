#include "farm/jobmonitor/JobAnswer.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "base/parameters/JsonTexts.h"
#include "farm/protocol/FarmProtocol.h"
#include "platform/jobmanager/JobManagerMessages.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using Weftline::Record;
namespace Shared = Weftline::Keys;

namespace {

Parameters ReadTree(const std::string& json) {
    try {
        Parameters tree = Parameters::fromJSON(json);
        return tree.IsArray() ? Parameters() : tree;
    } catch (const std::runtime_error&) {
        return {};
    }
}

// Empty ones of broken JSON too.
template <std::size_t kCount>
std::array<std::string, kCount> ReadTexts(const std::string& json, const std::string_view (&keys)[kCount]) {
    std::array<std::string, kCount> texts;
    static_cast<void>(CoreServices::ReadTextsOfJson(json, keys, texts));
    return texts;
}

std::string TextOf(const Parameters& tree, std::string_view key) {
    std::string text;
    tree.GetParameter(key, text);
    return text;
}

Parameters InfoOf(const Record& job, const std::string& status) {
    Parameters info;
    if (status == Weftline::JobStates::Failed) {
        const std::string reason = TextOf(ReadTree(job.recordData), Keys::FailureReason);
        if (!reason.empty()) {
            info.SetParameter(Keys::FailureReason, reason);
        }
    }
    return info;
}

Parameters DetailsOf(const SubTasks& subTasks) {
    Parameters details;
    for (const std::string& id : subTasks.ids) {
        details.AddArrayParameter(Shared::SubTaskJobIDs, id);
    }
    if (subTasks.areMore) {
        details.SetParameter(CommonServices::JobManagerKeys::MoreSubTasks, true);
    }
    return details;
}

Parameters ParentOf(const IndexedJob& entry) {
    Parameters parent;
    if (entry.parent.empty()) {
        parent.SetParameterNull(Shared::Id);
    } else {
        parent.SetParameter(Shared::Id, entry.parent);
    }
    return parent;
}

/// A date as job managers tell it, "2026-11-22T20:06:45.000Z", of one as records hold it; empty where that is
/// none.
std::string ManagerDate(const std::string& extendedIsoUtc) {
    constexpr std::string_view kForm = "0000-00-00T00:00:00";
    if (extendedIsoUtc.size() < kForm.size()) {
        return {};
    }
    for (std::size_t i = 0; i < kForm.size(); ++i) {
        const char c = extendedIsoUtc[i];
        const bool isRight = kForm[i] == '0' ? c >= '0' && c <= '9' : c == kForm[i];
        if (!isRight) {
            return {};
        }
    }
    return extendedIsoUtc.substr(0, kForm.size()) + ".000Z";
}

}  // namespace

IndexedJob MakeEntry(const Record& job, std::int64_t order) {
    auto [identity, parent] = ReadTexts(job.recordData, {Shared::Identity, Shared::Parent});
    auto [identityId] = ReadTexts(identity, {Shared::IdentityId});
    auto [kind] = ReadTexts(job.recordPublicData, {Shared::JobKind});
    return {order, job.recordID, std::move(identityId), std::move(parent), std::move(kind)};
}

bool IsToldFromPrivateData(const Record& job) {
    const auto [state] = ReadTexts(job.recordPublicData, {Shared::JobState});
    return state == Weftline::JobStates::Failed;
}

Parameters DescribeJob(const ListedJob& listed, const SubTasks& subTasks) {
    const Record& job = listed.record;
    const Parameters publicData = ReadTree(job.recordPublicData);
    CommonServices::JobInfo info;
    info.jobId = job.recordID;
    info.clientKey = job.recordID;
    info.kind = TextOf(publicData, Shared::JobKind);
    info.creationDateTime = ManagerDate(TextOf(publicData, Shared::CreatedDateTime));
    info.completedDateTime = TextOf(publicData, Shared::CompletedDateTime);
    info.createdBy = TextOf(publicData, Shared::CreatedBy);
    info.name = job.name;
    info.status = TextOf(publicData, Shared::JobState);
    if (info.status.empty()) {
        info.status = Weftline::JobStates::Created;
    }
    publicData.GetParameter(Shared::Priority, info.priority);
    publicData.GetParameter(Shared::Progress, info.progress);
    info.info = InfoOf(job, info.status);
    info.details = DetailsOf(subTasks);

    Parameters answer = CommonServices::WriteJobInfo(info);
    answer.SetParameter(Shared::Description, job.description);
    answer.SetParameter(Shared::JobQueue, TextOf(publicData, Shared::JobQueue));
    answer.SetParameter(Shared::CreatedDateTime, TextOf(publicData, Shared::CreatedDateTime));
    answer.SetChildParameters(Shared::Parent, ParentOf(listed.entry));
    return answer;
}

}  // namespace Quillon::Farm
