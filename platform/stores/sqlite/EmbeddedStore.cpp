#include "platform/stores/sqlite/EmbeddedStore.h"

#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>

#include <filesystem>

#include "platform/stores/ObjectStoreException.h"
#include "platform/stores/sqlite/SqliteEventLog.h"
#include "platform/stores/sqlite/SqliteRecordStore.h"

namespace CommonServices {

namespace {

[[noreturn]] void Explain(const std::string& path, const SQLite::Exception& fault) {
    if (fault.getErrorCode() == SQLITE_NOTADB || fault.getErrorCode() == SQLITE_CORRUPT) {
        throw ObjectStoreException("'" + path + "' is no database or is damaged (" + fault.what() +
                                   "); move it away or name another file");
    }
    if ((fault.getErrorCode() & 0xff) == SQLITE_BUSY) {
        throw ObjectStoreException("'" + path +
                                   "' is locked by another program; end that program's work on it");
    }
    throw ObjectStoreException("The store's file '" + path + "' cannot be opened: " + fault.what() +
                               "; make it and its directory writable for this user or name another file");
}

}  // namespace

EmbeddedStore OpenEmbeddedStore(const std::string& path) {
    Sqlite::SqliteOptions options;
    options.path = path;
    return OpenEmbeddedStore(options);
}

EmbeddedStore OpenEmbeddedStore(const Sqlite::SqliteOptions& given) {
    Sqlite::SqliteOptions options = given;
    // An absolute path, so that a later change of the working directory means nothing and no name reads as
    // one of SQLite's special ones.
    options.path = std::filesystem::absolute(given.path).lexically_normal().string();
    try {
        const auto file = std::make_shared<Sqlite::SqliteFile>(options);
        return {std::make_shared<Sqlite::SqliteRecordStore>(file),
                std::make_shared<Sqlite::SqliteEventLog>(file)};
    } catch (const SQLite::Exception& fault) {
        Explain(options.path, fault);
    }
}

}  // namespace CommonServices
