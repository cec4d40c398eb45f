#include "platform/stores/sqlite/ReaderPool.h"

#include <utility>

#include "base/concurrency/BlockingRegion.h"

namespace CommonServices::Sqlite {

ReaderPool::ReaderPool(const SqliteOptions& options) : m_options(options) {
    m_free.reserve(options.maxReaders);
}

ReaderPool::~ReaderPool() = default;

ReaderPool::Lease::Lease(ReaderPool& pool, std::unique_ptr<ReadConnection> connection)
    : m_pool(pool), m_pConnection(std::move(connection)) {}

ReaderPool::Lease::~Lease() {
    m_pool.GiveBack(std::move(m_pConnection));
}

ReaderPool::Lease ReaderPool::Take() {
    std::unique_ptr<ReadConnection> connection = TakeFree();
    if (connection == nullptr) {
        try {
            connection = std::make_unique<ReadConnection>(m_options);
        } catch (...) {
            GiveBack(nullptr);
            throw;
        }
    }
    return {*this, std::move(connection)};
}

// Counts the caller in; empty when it is to open a connection.
std::unique_ptr<ReadConnection> ReaderPool::TakeFree() {
    std::unique_lock lock(m_mutex);
    if (m_inUse == m_options.maxReaders) {
        const PlatformAbstraction::BlockingRegion blocking;
        m_returned.wait(lock, [this] { return m_inUse < m_options.maxReaders; });
    }
    ++m_inUse;
    if (m_free.empty()) {
        return nullptr;
    }
    std::unique_ptr<ReadConnection> connection = std::move(m_free.back());
    m_free.pop_back();
    return connection;
}

void ReaderPool::GiveBack(std::unique_ptr<ReadConnection> connection) {
    {
        const std::scoped_lock lock(m_mutex);
        --m_inUse;
        if (connection != nullptr) {
            m_free.push_back(std::move(connection));
        }
    }
    m_returned.notify_one();
}

}  // namespace CommonServices::Sqlite
