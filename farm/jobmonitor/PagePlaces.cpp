#include "farm/jobmonitor/PagePlaces.h"

#include <tuple>

namespace Quillon::Farm {

using PlatformAbstraction::MutexLock;

bool operator<(const Listing& left, const Listing& right) {
    const auto key = [](const Listing& listing) {
        return std::tie(listing.call.process, listing.call.number, listing.kind, listing.filter.creator,
                        listing.filter.parent);
    };
    return key(left) < key(right);
}

PagePlaces::Start PagePlaces::Find(const Listing& listing, std::int64_t offset, std::int64_t first) {
    if (offset == 0) {
        return {first, 0};
    }
    const MutexLock lock(m_mutex);
    DropOld();
    const auto found = m_places.find(listing);
    if (found == m_places.end()) {
        return {first, offset};
    }
    const Place& place = found->second;
    return place.next == offset ? Start{place.last, 0} : Start{place.beginning, offset};
}

void PagePlaces::GoOn(const Listing& listing, bool isFirst, std::int64_t beginning, std::int64_t last,
                      std::int64_t next) {
    const MutexLock lock(m_mutex);
    const auto [entry, isNew] = m_places.try_emplace(listing);
    Place& place = entry->second;
    if (isNew) {
        place.use = m_uses.insert(m_uses.end(), entry);
    } else {
        m_uses.splice(m_uses.end(), m_uses, place.use);
    }
    if (isNew || isFirst) {
        place.beginning = beginning;
    }
    place.last = last;
    place.next = next;
    place.lastUse = Clock::now();
    DropOld();
}

void PagePlaces::Forget(const Listing& listing) {
    const MutexLock lock(m_mutex);
    if (const auto found = m_places.find(listing); found != m_places.end()) {
        m_uses.erase(found->second.use);
        m_places.erase(found);
    }
}

void PagePlaces::DropOld() {
    const auto oldest = Clock::now() - kLife;
    while (!m_uses.empty() && (m_uses.size() > kMost || m_uses.front()->second.lastUse < oldest)) {
        m_places.erase(m_uses.front());
        m_uses.pop_front();
    }
}

}  // namespace Quillon::Farm
