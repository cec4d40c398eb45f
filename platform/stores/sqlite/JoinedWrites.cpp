#include "platform/stores/sqlite/JoinedWrites.h"

#include <sqlite3.h>

#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace CommonServices::Sqlite {

namespace {

// SQLite's own file system on Unix takes less than 128 KiB in one write.
constexpr std::size_t kMostJoined = std::size_t{120} << 10;

// SQLite makes room for this, zeroed, and for the file of the system below behind it.
struct JoinedFile {
    sqlite3_file base;  // first: SQLite knows the file by it
    std::vector<char>* pJoined;
    sqlite3_int64 start;  // where in the file the joined bytes belong
    bool leavesSync;      // to its user

    sqlite3_file& Below() { return *reinterpret_cast<sqlite3_file*>(this + 1); }
    const sqlite3_io_methods& Calls() { return *Below().pMethods; }

    static JoinedFile& Of(sqlite3_file* file) { return *reinterpret_cast<JoinedFile*>(file); }

    int Flush() {
        if (pJoined->empty()) {
            return SQLITE_OK;
        }
        const int code = Calls().xWrite(&Below(), pJoined->data(), static_cast<int>(pJoined->size()), start);
        pJoined->clear();  // SQLite never asks for the same write again
        return code;
    }

    int Write(const void* bytes, int count, sqlite3_int64 offset) {
        const auto size = static_cast<sqlite3_int64>(pJoined->size());
        if (!pJoined->empty() &&
            (offset != start + size || size + count > static_cast<sqlite3_int64>(kMostJoined))) {
            if (const int code = Flush(); code != SQLITE_OK) {
                return code;
            }
        }
        if (static_cast<std::size_t>(count) > kMostJoined) {
            return Calls().xWrite(&Below(), bytes, count, offset);
        }
        if (pJoined->empty()) {
            start = offset;
        }
        const char* first = static_cast<const char*>(bytes);
        try {
            pJoined->insert(pJoined->end(), first, first + count);
        } catch (const std::bad_alloc&) {
            return SQLITE_IOERR_NOMEM;
        }
        return SQLITE_OK;
    }
};
static_assert(sizeof(JoinedFile) % alignof(sqlite3_int64) == 0, "the file below begins right behind");

// A call that needs the file as SQLite believes it to be.
template <auto call, typename... Args>
int AfterFlush(sqlite3_file* file, Args... args) {
    JoinedFile& joined = JoinedFile::Of(file);
    if (const int code = joined.Flush(); code != SQLITE_OK) {
        return code;
    }
    return (joined.Calls().*call)(&joined.Below(), args...);
}

template <auto call, typename... Args>
auto PassOn(sqlite3_file* file, Args... args) {
    JoinedFile& joined = JoinedFile::Of(file);
    return (joined.Calls().*call)(&joined.Below(), args...);
}

int Close(sqlite3_file* file) {
    JoinedFile& joined = JoinedFile::Of(file);
    const int flushed = joined.Flush();
    delete joined.pJoined;
    joined.pJoined = nullptr;
    const int closed = joined.Calls().xClose(&joined.Below());
    return flushed != SQLITE_OK ? flushed : closed;
}

int Write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
    return JoinedFile::Of(file).Write(bytes, count, offset);
}

int Sync(sqlite3_file* file, int flags) {
    JoinedFile& joined = JoinedFile::Of(file);
    const int code = joined.Flush();
    return code != SQLITE_OK || joined.leavesSync ? code : joined.Calls().xSync(&joined.Below(), flags);
}

// Numbers up to 100 are SQLite's own.
constexpr int kLeaveSync = 7501;
constexpr int kForgetJoined = 7502;

int Control(sqlite3_file* file, int operation, void* argument) {
    JoinedFile& joined = JoinedFile::Of(file);
    if (operation == kLeaveSync) {
        joined.leavesSync = *static_cast<const bool*>(argument);
        return SQLITE_OK;
    }
    if (operation == kForgetJoined) {
        joined.pJoined->clear();
        return SQLITE_OK;
    }
    return joined.Calls().xFileControl(&joined.Below(), operation, argument);
}

void SetLeaveSync(sqlite3* database, bool leave) {
    sqlite3_file_control(database, "main", kLeaveSync, &leave);
}

using Calls = sqlite3_io_methods;

constexpr Calls kCallsOfLog = {
    2,  // with shared memory, without mapped reading
    Close,
    AfterFlush<&Calls::xRead, void*, int, sqlite3_int64>,
    Write,
    AfterFlush<&Calls::xTruncate, sqlite3_int64>,
    Sync,
    AfterFlush<&Calls::xFileSize, sqlite3_int64*>,
    PassOn<&Calls::xLock, int>,
    PassOn<&Calls::xUnlock, int>,
    PassOn<&Calls::xCheckReservedLock, int*>,
    Control,
    PassOn<&Calls::xSectorSize>,
    PassOn<&Calls::xDeviceCharacteristics>,
    PassOn<&Calls::xShmMap, int, int, int, void volatile**>,
    PassOn<&Calls::xShmLock, int, int, int>,
    PassOn<&Calls::xShmBarrier>,
    PassOn<&Calls::xShmUnmap, int>,
    nullptr,
    nullptr,
};

// A checkpoint that a reader stops half way ends without a sync, and from then on everybody reads what it has
// copied: these writes cannot wait.
constexpr Calls kCallsOfDatabase = [] {
    Calls calls = kCallsOfLog;
    calls.xWrite = PassOn<&Calls::xWrite, const void*, int, sqlite3_int64>;
    return calls;
}();

sqlite3_vfs& SystemBelow(sqlite3_vfs* vfs) {
    return *static_cast<sqlite3_vfs*>(vfs->pAppData);
}

template <auto call, typename... Args>
auto AskBelow(sqlite3_vfs* vfs, Args... args) {
    sqlite3_vfs& below = SystemBelow(vfs);
    return (below.*call)(&below, args...);
}

int Open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    sqlite3_vfs& below = SystemBelow(vfs);
    if ((flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL)) == 0) {
        return below.xOpen(&below, name, file, flags, outFlags);
    }
    JoinedFile& joined = JoinedFile::Of(file);
    joined.base.pMethods = nullptr;  // nothing to close, should it fail
    auto bytes = std::unique_ptr<std::vector<char>>(new (std::nothrow) std::vector<char>);
    if (!bytes) {
        return SQLITE_NOMEM;
    }
    const int code = below.xOpen(&below, name, &joined.Below(), flags, outFlags);
    if (code != SQLITE_OK) {
        if (joined.Below().pMethods != nullptr) {
            joined.Calls().xClose(&joined.Below());
        }
        return code;
    }
    joined.pJoined = bytes.release();
    joined.base.pMethods = (flags & SQLITE_OPEN_WAL) != 0 ? &kCallsOfLog : &kCallsOfDatabase;
    return SQLITE_OK;
}

using System = sqlite3_vfs;

}  // namespace

const char* JoinedWrites() {
    static System* const vfs = [] {
        sqlite3_vfs* const below = sqlite3_vfs_find(nullptr);
        auto* const joined = new System(*below);  // SQLite keeps it as long as the process lives
        joined->iVersion = 2;  // without the system calls, which tests of SQLite itself replace
        joined->szOsFile = static_cast<int>(sizeof(JoinedFile)) + below->szOsFile;
        joined->pNext = nullptr;
        joined->zName = "joined";
        joined->pAppData = below;
        joined->xOpen = Open;
        joined->xDelete = AskBelow<&System::xDelete, const char*, int>;
        joined->xAccess = AskBelow<&System::xAccess, const char*, int, int*>;
        joined->xFullPathname = AskBelow<&System::xFullPathname, const char*, int, char*>;
        joined->xDlOpen = AskBelow<&System::xDlOpen, const char*>;
        joined->xDlError = AskBelow<&System::xDlError, int, char*>;
        joined->xDlSym = [](System* self, void* library, const char* symbol) {
            return SystemBelow(self).xDlSym(&SystemBelow(self), library, symbol);
        };
        joined->xDlClose = AskBelow<&System::xDlClose, void*>;
        joined->xRandomness = AskBelow<&System::xRandomness, int, char*>;
        joined->xSleep = AskBelow<&System::xSleep, int>;
        joined->xCurrentTime = AskBelow<&System::xCurrentTime, double*>;
        joined->xGetLastError = AskBelow<&System::xGetLastError, int, char*>;
        joined->xCurrentTimeInt64 = AskBelow<&System::xCurrentTimeInt64, sqlite3_int64*>;
        sqlite3_vfs_register(joined, 0);
        return joined;
    }();
    return vfs->zName;
}

void ForgetJoinedWrites(sqlite3* database) {
    sqlite3_file* log = nullptr;
    if (sqlite3_file_control(database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK &&
        log != nullptr && log->pMethods != nullptr) {
        log->pMethods->xFileControl(log, kForgetJoined, nullptr);
    }
}

LeaveSyncToCaller::LeaveSyncToCaller(sqlite3* database) : m_database(database) {
    SetLeaveSync(m_database, true);
}

LeaveSyncToCaller::~LeaveSyncToCaller() {
    SetLeaveSync(m_database, false);
}

}  // namespace CommonServices::Sqlite
