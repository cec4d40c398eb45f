#include "platform/stores/sqlite/SqliteFile.h"

#include "platform/stores/sqlite/SqliteLayout.h"

namespace CommonServices::Sqlite {

SqliteFile::SqliteFile(const SqliteOptions& options)
    : m_file(options.path), m_writer(options, m_file, m_events), m_readers(options) {}

SqliteFile::~SqliteFile() = default;

void SqliteFile::EnsureReferenceIndex(const std::string& key) {
    {
        const std::scoped_lock lock(m_indexedMutex);
        if (m_indexedKeys.contains(key)) {
            return;
        }
    }
    // Two threads may come this far with one key; the second finds the index there.
    static_cast<void>(ReferenceExpression(key));
    const bool isThere = m_readers.Take()->HasReferenceIndex(key);
    ReferenceIndexWrite write(key);
    if (isThere || m_writer.Write(write)) {
        const std::scoped_lock lock(m_indexedMutex);
        m_indexedKeys.insert(key);
    }
}

}  // namespace CommonServices::Sqlite
