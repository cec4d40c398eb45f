#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "base/concurrency/Mutex.h"
#include "farm/jobmonitor/JobIndex.h"
#include "platform/messaging/MessageContext.h"

namespace Quillon::Farm {

/// Which part of a list is asked for, and by whom.
struct JobPage {
    std::int32_t offset = 0;
    std::int32_t limit = 0;
    /// The message under whose handling it is asked for: all pages of one call have the same.
    PlatformAbstraction::Messaging::MessageId call = {};
};

/// A list that a call pages through.
struct Listing {
    PlatformAbstraction::Messaging::MessageId call;  ///< empty: unknown
    JobFilter filter;
    std::string kind;  ///< empty: the list is not by kind
};
bool operator<(const Listing& left, const Listing& right);

/// Remembers where lists go on, so that jobs that come and go between two pages neither repeat nor hide any.
/// A page that begins where the one before ended goes on behind its last job; at every other offset it counts
/// from the job with which the list was begun, at offset 0.
///
/// Each call has its own places, whoever else lists. Askers of unknown call share one for each list: whoever
/// begins it last, begins it for all of them.
///
/// A place is forgotten with the last page of its list, `kLife` after it was used, and when `kMost` others
/// were used since. The next page of such a list counts its offset from the list's first job of that time.
/// Thread-safe.
class PagePlaces {
public:
    static constexpr std::size_t kMost = 8192;  // a few megabytes
    /// `findJobsEx` asks ten times at most, and waits up to ten seconds for each answer.
    static constexpr std::chrono::minutes kLife{2};

    /// A page is read from behind the job at `place`, after leaving out `skip` more.
    struct Start {
        std::int64_t place = 0;
        std::int64_t skip = 0;
    };

    /// `first` is the place before all jobs, from where a list begins.
    [[nodiscard]] Start Find(const Listing& listing, std::int64_t offset, std::int64_t first);
    /// A page of the list was read that ended with the job at `last`; the next one's offset is `next`. A list
    /// that is not known yet begins at `beginning`, and so does one whose page was the `isFirst`.
    void GoOn(const Listing& listing, bool isFirst, std::int64_t beginning, std::int64_t last,
              std::int64_t next);
    void Forget(const Listing& listing);

private:
    using Clock = std::chrono::steady_clock;
    struct Place;
    using Uses = std::list<std::map<Listing, Place>::iterator>;
    struct Place {
        std::int64_t beginning = 0;
        std::int64_t last = 0;
        std::int64_t next = 0;
        Clock::time_point lastUse;
        Uses::iterator use;
    };

    void DropOld() QUILLON_REQUIRES(m_mutex);

    PlatformAbstraction::Mutex m_mutex;
    std::map<Listing, Place> m_places QUILLON_GUARDED_BY(m_mutex);
    Uses m_uses QUILLON_GUARDED_BY(m_mutex);  // the latest last
};

}  // namespace Quillon::Farm
