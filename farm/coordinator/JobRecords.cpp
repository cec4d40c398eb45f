#include "farm/coordinator/JobRecords.h"

#include "Core/src/Vocabulary.h"
#include "platform/stores/ObjectStore.h"

namespace Quillon::Farm {

using std::chrono::steady_clock;

JobRecords::JobRecords(std::chrono::milliseconds patience) : m_patience(patience) {}

JobRecords::Outcome JobRecords::Change(const std::string& jobId, const Edit& edit) {
    Stripe& stripe = StripeOf(jobId);
    const std::lock_guard lock(stripe.mutex);
    const CommonServices::ObjectStore store;
    auto job = store.FindByID(jobId, std::string(Weftline::Collections::Jobs));
    if (!job) {
        return Outcome::Gone;
    }
    const auto forgotten = stripe.forgotten.find(jobId);
    if (forgotten != stripe.forgotten.end() && steady_clock::now() < forgotten->second) {
        return Outcome::Withheld;
    }
    if (!edit(*job)) {
        return Outcome::Unchanged;
    }
    if (!store.UpsertOne(*job)) {
        throw CommonServices::ObjectStoreException("The store did not take the job " + jobId);
    }
    return Outcome::Written;
}

void JobRecords::Forget(const std::string& jobId) {
    Stripe& stripe = StripeOf(jobId);
    const std::lock_guard lock(stripe.mutex);
    const auto now = steady_clock::now();
    std::erase_if(stripe.forgotten, [now](const auto& job) { return job.second <= now; });
    stripe.forgotten[jobId] = now + m_patience;
}

JobRecords::Stripe& JobRecords::StripeOf(const std::string& jobId) {
    return m_stripes[std::hash<std::string>()(jobId) % kStripes];
}

}  // namespace Quillon::Farm
