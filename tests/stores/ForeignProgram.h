#pragma once

#include <string>
#include <vector>

struct sqlite3;

/// Another local program at work on the store's file, as docs/store.md asks it to be: it knows SQL and
/// nothing of the store's code.
class ForeignProgram {
public:
    explicit ForeignProgram(const std::string& path);
    ForeignProgram(const ForeignProgram&) = delete;
    ForeignProgram& operator=(const ForeignProgram&) = delete;
    ~ForeignProgram();

    /// Runs statements; a failure is thrown as `std::runtime_error` with SQLite's text.
    void Do(const std::string& sql);
    /// The last column of all rows, as text.
    std::vector<std::string> Ask(const std::string& sql);

private:
    sqlite3* m_pDatabase = nullptr;
};
