#include "JobRecords.h"

#include "ObjectStore.h"
#include "Vocabulary.h"

namespace Quillon::Farm {

namespace {

// A forgotten job matters only until its record is deleted, since after that no change finds it. So the last
// few are enough, and memory stays as it is however many jobs are removed.
constexpr std::size_t kMostForgotten = 128;

}  // namespace

JobRecords::JobRecords() = default;

JobRecords::Outcome JobRecords::Change(const std::string& jobId, const Edit& edit) {
    Stripe& stripe = StripeOf(jobId);
    const std::lock_guard lock(stripe.mutex);
    if (stripe.forgotten.contains(jobId)) {
        return Outcome::Gone;
    }
    const CommonServices::ObjectStore store;
    auto job = store.FindByID(jobId, std::string(Weftline::Collections::Jobs));
    if (!job) {
        return Outcome::Gone;
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
    if (!stripe.forgotten.insert(jobId).second) {
        return;
    }
    stripe.inOrder.push_back(jobId);
    if (stripe.inOrder.size() > kMostForgotten) {
        stripe.forgotten.erase(stripe.inOrder.front());
        stripe.inOrder.pop_front();
    }
}

JobRecords::Stripe& JobRecords::StripeOf(const std::string& jobId) {
    return m_stripes[std::hash<std::string>()(jobId) % kStripes];
}

}  // namespace Quillon::Farm
