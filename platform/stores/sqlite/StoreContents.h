#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/src/wf_Record.h"

namespace CommonServices::Sqlite {

/// All that lies in a store's file, whatever wrote it, for a program that carries it elsewhere. It claims the
/// file for itself as a service does, reads one state of it and writes nothing to it; SQLite's own files
/// beside it may be made anew. One thread. Faults are thrown as `ObjectStoreException`.
class StoreContents {
public:
    /// Throws, with a text that tells a person what to do, where the file is not there or in use, is another
    /// program's or of a newer layout, or where a failed sync has left it in doubt.
    explicit StoreContents(const std::string& path);
    ~StoreContents();
    StoreContents(const StoreContents&) = delete;
    StoreContents& operator=(const StoreContents&) = delete;

    /// Is shown a row with its place or offset, and gives whether it wants the next.
    using Visit = std::function<bool(std::int64_t place, Weftline::Record&& record)>;

    /// The records of all collections behind a place, in the store's order, with their private data unpacked.
    void VisitRecords(std::int64_t afterPlace, const Visit& visit);
    std::optional<Weftline::Record> FindRecord(const std::string& id, const std::string& collection);
    /// The events of all topics behind an offset, in order.
    void VisitEvents(std::int64_t afterOffset, const Visit& visit);

    /// What the file keeps for as long as it is one: the first event that was written, or the first record
    /// where there is none. Empty for a store without either.
    std::string Identity();
    /// Sizes and times of the files: another text after any write, and perhaps after none.
    std::string State() const;

private:
    struct Parts;

    const std::unique_ptr<Parts> m_pParts;
};

}  // namespace CommonServices::Sqlite
