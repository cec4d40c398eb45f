#pragma once

#include <cstdint>

#include "Core/src/wf_Record.h"

namespace SQLite {
class Statement;
}

namespace CommonServices::Sqlite {

/// Number of columns that `BindRecord` fills.
inline constexpr int kRecordColumnCount = 12;

/// Binds a record to the parameters 1 to `kRecordColumnCount`, in the order of `kRecordColumns`, without
/// copying its texts: it must stay as it is until the statement has run. `now` is in milliseconds since 1970.
/// Throws `SQLite::Exception` for a text that is too long for the file.
void BindRecord(SQLite::Statement& statement, const Weftline::Record& record, std::int64_t now);

/// Reads a record from the columns `first` onwards of the statement's present row. Rows of other programs may
/// hold NULL, numbers or bytes where texts belong; they are read as SQLite converts them.
Weftline::Record ReadRecord(SQLite::Statement& statement, int first);

}  // namespace CommonServices::Sqlite
