#include "tests/stores/ForeignProgram.h"

#include <sqlite3.h>

#include <stdexcept>

ForeignProgram::ForeignProgram(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &m_pDatabase, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        throw std::runtime_error("cannot open " + path);
    }
    sqlite3_db_config(m_pDatabase, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    Do("PRAGMA busy_timeout = 10000; PRAGMA wal_autocheckpoint = 0");
}

ForeignProgram::~ForeignProgram() {
    sqlite3_close(m_pDatabase);
}

void ForeignProgram::Do(const std::string& sql) {
    Ask(sql);
}

std::vector<std::string> ForeignProgram::Ask(const std::string& sql) {
    std::vector<std::string> rows;
    const auto collect = [](void* list, int count, char** values, char**) {
        static_cast<std::vector<std::string>*>(list)->emplace_back(
            values[count - 1] != nullptr ? values[count - 1] : "NULL");
        return 0;
    };
    char* text = nullptr;
    if (sqlite3_exec(m_pDatabase, sql.c_str(), collect, &rows, &text) != SQLITE_OK) {
        const std::string message = text != nullptr ? text : "unknown";
        sqlite3_free(text);
        throw std::runtime_error(message);
    }
    return rows;
}
