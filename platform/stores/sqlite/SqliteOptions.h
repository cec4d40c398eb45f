#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace CommonServices::Sqlite {

/// What is done with the private JSON of records that are written. Each reads what the other has left.
enum class Compression {
    Zstd,  ///< packed where that makes it shorter; the file is brought to the layout that has packed texts
    None   ///< a text as it is; the file keeps the layout that it has, and a new one gets the first
};

/// How the embedded store treats its file. The defaults are those of the program; tests bring their own.
struct SqliteOptions {
    /// Absolute path of the database file.
    std::string path;
    /// How long a write waits for another program that holds the file's write lock before it is refused.
    std::chrono::milliseconds busyTimeout{10000};
    /// Page size of a file that is made new. Job records of some kilobytes fill pages of this size best;
    /// larger ones waste their tails and make the scattered writes of the id index dearer.
    int pageSize = 4096;
    /// Size of the write-ahead log in bytes from which it is worked into the database under load. Writes wait
    /// for that, some ten milliseconds; a larger log means fewer waits, each as much longer.
    std::int64_t checkpointBytes = std::int64_t{4} << 20;
    /// Time without a write after which the log is worked into the database and emptied.
    std::chrono::milliseconds idleAfter{500};
    Compression compression = Compression::Zstd;
    /// Most connections that read at once; further readers wait for one of them.
    std::size_t maxReaders = 8;
};

}  // namespace CommonServices::Sqlite
