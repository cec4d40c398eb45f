#include "tests/stores/FaultyDisk.h"

#include <sqlite3.h>

#include <map>
#include <mutex>

namespace {

sqlite3_vfs* g_system = nullptr;

/// A copy of one of the system's tables of operations (the database file has another than the log), with some
/// of them exchanged. The files themselves stay the system's own.
struct Exchanged {
    sqlite3_io_methods methods;  // first: files point to it
    const sqlite3_io_methods* system;
};

const sqlite3_io_methods& SystemMethods(const sqlite3_file* file) {
    return *reinterpret_cast<const Exchanged*>(file->pMethods)->system;
}

int Write(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
    return FaultyDisk::s_full ? SQLITE_FULL : SystemMethods(file).xWrite(file, data, amount, offset);
}

int Sync(sqlite3_file* file, int flags) {
    ++FaultyDisk::s_syncs;
    return FaultyDisk::s_syncFails ? SQLITE_IOERR_FSYNC : SystemMethods(file).xSync(file, flags);
}

int MapIndex(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
    return FaultyDisk::s_indexIsFull ? SQLITE_IOERR_SHMSIZE
                                     : SystemMethods(file).xShmMap(file, region, size, extend, memory);
}

const sqlite3_io_methods* Exchange(const sqlite3_io_methods* system) {
    static std::mutex mutex;
    static std::map<const sqlite3_io_methods*, Exchanged> tables;
    const std::scoped_lock lock(mutex);
    const auto [table, isNew] = tables.try_emplace(system, Exchanged{*system, system});
    if (isNew) {  // others are read already, by any thread
        table->second.methods.xWrite = &Write;
        table->second.methods.xSync = &Sync;
        table->second.methods.xShmMap = &MapIndex;
    }
    return &table->second.methods;
}

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    const int code = g_system->xOpen(g_system, name, file, flags, outFlags);
    if (code == SQLITE_OK) {
        file->pMethods = Exchange(file->pMethods);
    }
    return code;
}

}  // namespace

void FaultyDisk::Install() {
    static sqlite3_vfs vfs;
    static std::once_flag once;
    std::call_once(once, [] {
        g_system = sqlite3_vfs_find(nullptr);
        vfs = *g_system;
        vfs.pNext = nullptr;
        vfs.zName = kVfs;
        vfs.xOpen = &Open;
        sqlite3_vfs_register(&vfs, 0);
    });
    s_full = false;
    s_indexIsFull = false;
    s_syncFails = false;
}
