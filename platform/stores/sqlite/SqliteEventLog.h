#pragma once

#include <memory>

#include "platform/stores/EventLog.h"
#include "platform/stores/sqlite/SqliteFile.h"

namespace CommonServices::Sqlite {

/// The events of the embedded store, in the file of its records.
class SqliteEventLog final : public EventLog {
public:
    explicit SqliteEventLog(std::shared_ptr<SqliteFile> file);

    bool IsIn(const SqliteFile& file) const { return m_pFile.get() == &file; }

    bool Append(const Weftline::Record& record, bool durable) override;
    std::vector<LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset, std::size_t limit,
                                  const EventWait& wait) override;

private:
    const std::shared_ptr<SqliteFile> m_pFile;
};

}  // namespace CommonServices::Sqlite
