// A function for the sqlite3 shell, and for every other program that loads extensions of SQLite:
//
//     .load build/release/bin/quillon_text
//     SELECT quillon_text(recordData) FROM records;
//
// gives the text of a packed value, and any other value as it is. It stands on SQLite and libzstd alone.

#include <sqlite3ext.h>
#include <zstd.h>

#include <map>
#include <memory>
#include <new>

SQLITE_EXTENSION_INIT1

namespace {

struct Free {
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
    void operator()(ZSTD_DDict* dictionary) const { ZSTD_freeDDict(dictionary); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    void operator()(void* memory) const { sqlite3_free(memory); }
};

// Of one connection.
struct Unpacker {
    std::unique_ptr<ZSTD_DCtx, Free> context{ZSTD_createDCtx()};
    std::map<unsigned, std::unique_ptr<ZSTD_DDict, Free>> dictionaries;

    // Empty where the file does not hold it.
    const ZSTD_DDict* DictionaryOf(unsigned number, sqlite3* database) {
        const auto known = dictionaries.find(number);
        if (known != dictionaries.end()) {
            return known->second.get();
        }
        sqlite3_stmt* prepared = nullptr;
        const char* const sql = "SELECT bytes FROM dictionaries WHERE id = ?1";
        if (sqlite3_prepare_v2(database, sql, -1, &prepared, nullptr) != SQLITE_OK) {
            return nullptr;
        }
        const std::unique_ptr<sqlite3_stmt, Free> find(prepared);
        sqlite3_bind_int64(find.get(), 1, number);
        if (sqlite3_step(find.get()) != SQLITE_ROW) {
            return nullptr;
        }
        const void* const bytes = sqlite3_column_blob(find.get(), 0);
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(find.get(), 0));
        return dictionaries.emplace(number, ZSTD_createDDict(bytes, size)).first->second.get();
    }
};

// False where the value is no frame that can be unpacked.
bool Answer(sqlite3_context* call, sqlite3_value* value) {
    auto& unpacker = *static_cast<Unpacker*>(sqlite3_user_data(call));
    const void* const frame = sqlite3_value_blob(value);
    const auto size = static_cast<std::size_t>(sqlite3_value_bytes(value));
    const unsigned long long length = ZSTD_getFrameContentSize(frame, size);
    const unsigned number = ZSTD_getDictID_fromFrame(frame, size);
    // No frame holds more than a block of text for each four bytes.
    if (length > size * (ZSTD_BLOCKSIZE_MAX / 4)) {
        return false;
    }
    const ZSTD_DDict* const dictionary =
        number == 0 ? nullptr : unpacker.DictionaryOf(number, sqlite3_context_db_handle(call));
    std::unique_ptr<void, Free> text(sqlite3_malloc64(length + 1));
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    const std::size_t written =
        ZSTD_decompress_usingDDict(unpacker.context.get(), text.get(), length, frame, size, dictionary);
    if (written != length) {
        return false;
    }
    sqlite3_result_text64(call, static_cast<const char*>(text.release()), length, sqlite3_free, SQLITE_UTF8);
    return true;
}

void QuillonText(sqlite3_context* call, int /*count*/, sqlite3_value** values) try {
    if (sqlite3_value_type(*values) != SQLITE_BLOB || !Answer(call, *values)) {
        sqlite3_result_value(call, *values);
    }
} catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(call);
}

}  // namespace

// SQLite finds it by the name of the file.
extern "C" int sqlite3_quillontext_init(sqlite3* database, char** /*error*/,
                                        const sqlite3_api_routines* pApi) {
    SQLITE_EXTENSION_INIT2(pApi)
    auto* const unpacker = new (std::nothrow) Unpacker;
    if (unpacker == nullptr) {
        return SQLITE_NOMEM;
    }
    return sqlite3_create_function_v2(database, "quillon_text", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                      unpacker, QuillonText, nullptr, nullptr,
                                      [](void* gone) { delete static_cast<Unpacker*>(gone); });
}
