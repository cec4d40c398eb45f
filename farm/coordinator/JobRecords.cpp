#include "farm/coordinator/JobRecords.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "Core/src/JobKinds.h"
#include "Core/src/TimeText.h"
#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/LeaseNumber.h"
#include "platform/stores/ObjectStore.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using Weftline::Record;
namespace Shared = Weftline::Keys;
namespace JobStates = Weftline::JobStates;

namespace {

constexpr std::array kOpenStates{JobStates::Created, JobStates::Readied, JobStates::Evaluated,
                                 JobStates::Tasked};
constexpr std::int32_t kAllDone = 100;
constexpr std::int32_t kLowestPriority = 1;
constexpr std::int32_t kHighestPriority = 100;

Parameters ReadObject(const std::string& json) {
    Parameters tree = Parameters::fromJSON(json);
    if (tree.IsArray()) {
        throw std::runtime_error("The JSON of the job is an array.");
    }
    return tree;
}

std::string TextOf(const Parameters& tree, std::string_view key) {
    std::string text;
    tree.GetParameter(key, text);
    return text;
}

std::string StateOf(const Parameters& publicData) {
    std::string state = TextOf(publicData, Shared::JobState);
    return state.empty() ? std::string(JobStates::Created) : state;
}

// Both halves of a record as trees, written back together: where one of them cannot be read, none is changed.
class Editing {
public:
    explicit Editing(Record& job)
        : privateData(ReadObject(job.recordData)), publicData(ReadObject(job.recordPublicData)), m_job(job) {}

    void MoveTo(std::string_view state) {
        const std::string before = StateOf(publicData);
        if (before != state) {
            privateData.SetParameter(Shared::JobLastState, before);
        }
        privateData.SetParameter(Shared::JobMonitorID, m_job.recordID);
        publicData.SetParameter(Shared::JobState, state);
    }

    void Write() {
        m_job.recordData = privateData.toJSON();
        m_job.recordPublicData = publicData.toJSON();
    }

    Parameters privateData;
    Parameters publicData;

private:
    Record& m_job;
};

void NoteLease(Record& job, std::int64_t number) {
    if (number != 0) {
        Parameters privateData = ReadObject(job.recordData);
        WriteLeaseNumber(privateData, number);
        job.recordData = privateData.toJSON();
    }
}

// A half of a record that cannot be read makes room for an object, and lies in it as a text.
void MakeReadable(std::string& json) {
    try {
        ReadObject(json);
    } catch (const std::runtime_error&) {
        Parameters readable;
        readable.SetParameter(Keys::Unreadable, json);
        json = readable.toJSON();
    }
}

}  // namespace

JobFacts ReadJobFacts(const Record& job) {
    const Parameters privateData = ReadObject(job.recordData);
    const Parameters publicData = ReadObject(job.recordPublicData);
    JobFacts facts;
    facts.kind = TextOf(publicData, Shared::JobKind);
    facts.state = StateOf(publicData);
    facts.queue = TextOf(publicData, Shared::JobQueue);
    publicData.GetParameter(Shared::Priority, facts.priority);
    facts.priority = std::clamp(facts.priority, kLowestPriority, kHighestPriority);
    facts.wishes = {TextOf(privateData, Shared::RequiredWorkerMachine),
                    TextOf(privateData, Shared::ExcludedWorkerMachine)};
    return facts;
}

std::string ReadJobState(const Record& job) {
    return StateOf(ReadObject(job.recordPublicData));
}

bool IsOpen(const Record& job) try {
    return IsOpenState(ReadJobState(job));
} catch (const std::runtime_error&) {
    return true;
}

std::string ReadCreator(const Record& job) {
    return TextOf(ReadObject(job.recordPublicData), Shared::CreatedBy);
}

Parameters ReadProcessingData(const Record& job) {
    return ReadObject(TextOf(ReadObject(job.recordData), Shared::ProcessingData));
}

bool IsOpenState(std::string_view state) {
    return std::ranges::find(kOpenStates, state) != kOpenStates.end();
}

void MoveTo(Record& job, std::string_view state) {
    Editing editing(job);
    editing.MoveTo(state);
    editing.Write();
}

void SetProgress(Record& job, std::int32_t progress) {
    Parameters publicData = ReadObject(job.recordPublicData);
    publicData.SetParameter(Shared::Progress, progress);
    job.recordPublicData = publicData.toJSON();
}

std::int32_t ReadProgress(const Record& job) {
    std::int32_t progress = 0;
    ReadObject(job.recordPublicData).GetParameter(Shared::Progress, progress);
    return progress;
}

std::string NowText() {
    return Weftline::ExtendedIsoUtc(std::chrono::system_clock::now());
}

void Complete(Record& job, const std::string& extendedIsoUtc) {
    Editing editing(job);
    editing.MoveTo(JobStates::Completed);
    editing.publicData.SetParameter(Shared::Progress, kAllDone);
    editing.publicData.SetParameter(Shared::CompletedDateTime, extendedIsoUtc);
    editing.Write();
}

void Fail(Record& job, const std::string& extendedIsoUtc, const std::string& reason) {
    MakeReadable(job.recordData);
    MakeReadable(job.recordPublicData);
    Editing editing(job);
    editing.MoveTo(JobStates::Failed);
    editing.privateData.SetParameter(Keys::FailureReason, reason);
    editing.publicData.SetParameter(Shared::CompletedDateTime, extendedIsoUtc);
    editing.Write();
}

JobRecords::Outcome JobRecords::Change(const std::string& jobId, const Edit& edit) {
    using CommonServices::ReplaceOutcome;
    const CommonServices::ObjectStore store;
    for (;;) {
        if (m_pTerm->IsOver()) {
            throw CommonServices::ObjectStoreException("The coordinator's lease has run out");
        }
        const auto seen = store.FindByID(jobId, std::string(Weftline::Collections::Jobs));
        if (!seen) {
            return Outcome::Gone;
        }
        if (m_pTerm->Number() != 0 && ReadLeaseNumber(*seen) > m_pTerm->Number()) {
            return Outcome::Taken;
        }
        Record next = *seen;
        if (!edit(next)) {
            return Outcome::Unchanged;
        }
        NoteLease(next, m_pTerm->Number());
        switch (store.ReplaceIf(seen, next)) {
            case ReplaceOutcome::Replaced:
                return Outcome::Written;
            case ReplaceOutcome::Changed:
                break;  // somebody else was faster
            case ReplaceOutcome::Failed:
                throw CommonServices::ObjectStoreException("The store did not take the job " + jobId);
        }
    }
}

}  // namespace Quillon::Farm
