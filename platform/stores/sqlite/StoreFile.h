#pragma once

#include <string>

namespace CommonServices::Sqlite {

/// The store's file on disk, and this process's claim to it: only one process at a time writes and
/// checkpoints as the store. Made before the first connection and destroyed after the last, since closing a
/// descriptor of the file would drop SQLite's own locks on it.
class StoreFile {
public:
    /// Makes the directory (0700, where it is not there yet) with its parents and the file (0600), and claims
    /// the file. Throws `ObjectStoreException` with a text for the operator.
    explicit StoreFile(const std::string& path);
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;
    ~StoreFile();

    /// Brings to disk what any connection has written into the file. 0, or the system's error. Any thread may
    /// call it.
    int Sync() const noexcept;

    /// A mark beside the file, for the next process: the disk failed to keep what was written, so the file is
    /// to be looked through before it is used. It is lost where the disk takes nothing at all any more.
    void Doubt() const noexcept;
    bool IsDoubted() const;
    void Trust() const noexcept;

private:
    const std::string m_markPath;
    int m_descriptor;
};

}  // namespace CommonServices::Sqlite
