#pragma once

#include <atomic>

/// A file system for SQLite whose faults can be switched on: the system's own with some calls put in between.
/// One for the process, under the name `FaultyDisk::kVfs` once `Install` was called.
class FaultyDisk {
public:
    static constexpr const char* kVfs = "quillon-faulty-disk";
    static void Install();

    /// Writes fail as on a full disk.
    static inline std::atomic<bool> s_full = false;
    /// The log's index in shared memory cannot grow.
    static inline std::atomic<bool> s_indexIsFull = false;
    /// Syncs fail and may have lost what was written.
    static inline std::atomic<bool> s_syncFails = false;
    static inline std::atomic<int> s_syncs = 0;
};
