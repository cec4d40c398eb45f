#include "platform/stores/sqlite/SqliteEventLog.h"

#include <SQLiteCpp/Exception.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/stores/ObjectStoreException.h"

namespace CommonServices::Sqlite {

namespace {

// The service's own events end a wait at once; those that other programs insert are found after this at most.
constexpr std::chrono::milliseconds kForeignEventPoll{250};

}  // namespace

SqliteEventLog::SqliteEventLog(std::shared_ptr<SqliteFile> file) : m_pFile(std::move(file)) {}

bool SqliteEventLog::Append(const Weftline::Record& record, bool durable) {
    if (!durable) {
        return m_pFile->Writer().WriteDetached(std::make_unique<DetachedAppendWrite>(record));
    }
    AppendWrite write(record);
    return m_pFile->Writer().Write(write);
}

std::vector<LoggedEvent> SqliteEventLog::Read(const std::string& topic, std::int64_t afterOffset,
                                              std::size_t limit, const EventWait& wait) try {
    if (limit == 0) {
        return {};
    }
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max());
    const auto most = static_cast<std::int64_t>(std::min(limit, kMost));
    const auto deadline = std::chrono::steady_clock::now() + wait.longest;
    for (;;) {
        const std::uint64_t seen = m_pFile->Events().Count();
        std::vector<LoggedEvent> found = m_pFile->Readers().Take()->ReadEvents(topic, afterOffset, most);
        const auto now = std::chrono::steady_clock::now();
        if (!found.empty() || now >= deadline || wait.stop.stop_requested()) {
            return found;
        }
        m_pFile->Events().WaitPast(seen, std::min(deadline, now + kForeignEventPoll), wait.stop);
    }
} catch (const SQLite::Exception& fault) {
    throw ObjectStoreException(std::string("The event log cannot be read: ") + fault.what());
}

}  // namespace CommonServices::Sqlite
