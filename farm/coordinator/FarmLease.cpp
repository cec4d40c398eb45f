#include "farm/coordinator/FarmLease.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "base/parameters/Parameters.h"
#include "farm/protocol/FarmState.h"
#include "platform/messaging/PlatformIdentifiers.h"
#include "platform/stores/ObjectStore.h"

namespace Quillon::Farm {

using CommonServices::ObjectStore;
using CommonServices::ReplaceOutcome;
using CoreServices::Parameters;
using Clock = LeaseTerm::Clock;

namespace {

constexpr char kType[] = "FarmLease";
constexpr char kRecordId[] = "farm.coordinator.lease";
constexpr std::int32_t kVersion = 1;

constexpr std::string_view kHolder = "holder";  // empty: free
constexpr std::string_view kRenewals = "renewals";

struct Content {
    std::string holder;
    std::int64_t number = 0;
};

Content ReadContent(const Weftline::Record& lease) try {
    Content content;
    const Parameters data = Parameters::fromJSON(lease.recordData);
    data.GetParameter(kHolder, content.holder);
    content.number = ReadLeaseNumber(data);
    return content;
} catch (const std::runtime_error&) {
    return {};
}

// Where the lease is missing it may have been deleted, and jobs with its numbers may be there: a number made
// of the time is above them.
std::int64_t FirstNumber() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

}  // namespace

void LeaseTerm::Prolong(Clock::time_point until) {
    auto present = m_until.load();
    while (present != Clock::time_point::min() && !m_until.compare_exchange_weak(present, until)) {
    }
}

FarmLease::FarmLease(const LeaseTimes& times)
    : m_times(times), m_self(PlatformAbstraction::CreateGuidAsString()) {}

std::shared_ptr<LeaseTerm> FarmLease::Hold() {
    if (m_pTerm && m_pTerm->IsOver()) {
        m_pTerm.reset();
    }
    if (m_pTerm && !Renew()) {
        m_pTerm->End();
        m_pTerm.reset();
    }
    if (!m_pTerm) {
        TakeOver();
    }
    return m_pTerm;
}

bool FarmLease::Renew() {
    constexpr int kAttempts = 2;  // the second for a renewal before whose answer was lost
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const auto begun = Clock::now();
        ++m_renewals;
        Weftline::Record next = RecordOf(m_self, m_pTerm->Number());
        switch (ObjectStore().ReplaceIf(m_seen, next)) {
            case ReplaceOutcome::Replaced:
                m_seen = std::move(next);
                m_pTerm->Prolong(begun + m_times.life);
                return true;
            case ReplaceOutcome::Failed:
                return true;
            case ReplaceOutcome::Changed:
                break;
        }
        m_seen = ObjectStore().FindByID(kRecordId, kStateCollection);
        m_seenSince = Clock::now();
        const Content content = m_seen ? ReadContent(*m_seen) : Content();
        if (content.holder != m_self || content.number != m_pTerm->Number()) {
            return false;
        }
    }
    return false;
}

void FarmLease::TakeOver() {
    auto stored = ObjectStore().FindByID(kRecordId, kStateCollection);
    const bool isAsSeen = stored && m_seen && CommonServices::IsSameRecord(*stored, *m_seen);
    if (!isAsSeen) {
        m_seen = std::move(stored);
        m_seenSince = Clock::now();
    }
    const Content content = m_seen ? ReadContent(*m_seen) : Content();
    const bool isFree = content.holder.empty() || content.holder == m_self;
    const auto begun = Clock::now();
    if (!isFree && begun - m_seenSince < m_times.life) {
        return;
    }
    m_highest = std::max(m_highest, content.number);
    const std::int64_t number = content.number == 0 ? std::max(FirstNumber(), m_highest + 1) : m_highest + 1;
    m_highest = number;
    Weftline::Record next = RecordOf(m_self, number);
    if (ObjectStore().ReplaceIf(m_seen, next) != ReplaceOutcome::Replaced) {
        return;
    }
    m_seen = std::move(next);
    m_pTerm = std::make_shared<LeaseTerm>(number, begun + m_times.life);
}

void FarmLease::LetGo() noexcept {
    if (!m_pTerm) {
        return;
    }
    const auto term = std::exchange(m_pTerm, nullptr);
    term->End();
    try {
        static_cast<void>(ObjectStore().ReplaceIf(m_seen, RecordOf("", term->Number())));
    } catch (const std::exception&) {
        return;  // it runs out by itself
    }
}

Weftline::Record FarmLease::RecordOf(const std::string& holder, std::int64_t number) const {
    Weftline::Record lease(kType, kVersion, kStateCollection);
    lease.recordID = kRecordId;
    lease.systemCreated = true;
    Parameters data;
    data.SetParameter(kHolder, holder);
    WriteLeaseNumber(data, number);
    data.SetParameter(kRenewals, m_renewals);
    lease.recordData = data.toJSON();
    return lease;
}

}  // namespace Quillon::Farm
