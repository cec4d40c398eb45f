#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/stores/sqlite/ReadConnection.h"

namespace CommonServices::Sqlite {

/// The connections that read, opened as they are needed. Any thread may call; whoever finds all of them in
/// use waits for one, and never for the writer.
class ReaderPool {
public:
    explicit ReaderPool(const SqliteOptions& options);
    ReaderPool(const ReaderPool&) = delete;
    ReaderPool& operator=(const ReaderPool&) = delete;
    ~ReaderPool();

    /// A connection for one thread, which goes back when the lease ends. The pool must outlive it.
    class Lease {
    public:
        Lease(ReaderPool& pool, std::unique_ptr<ReadConnection> connection);
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease();
        ReadConnection* operator->() const { return m_pConnection.get(); }

    private:
        ReaderPool& m_pool;
        std::unique_ptr<ReadConnection> m_pConnection;
    };

    /// Throws `SQLite::Exception` when a connection cannot be opened.
    Lease Take();

private:
    std::unique_ptr<ReadConnection> TakeFree();
    void GiveBack(std::unique_ptr<ReadConnection> connection);

    const SqliteOptions m_options;

    std::mutex m_mutex;  // guards what follows
    std::condition_variable m_returned;
    std::vector<std::unique_ptr<ReadConnection>> m_free;
    std::size_t m_inUse = 0;
};

}  // namespace CommonServices::Sqlite
