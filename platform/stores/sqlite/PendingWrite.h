#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/stores/sqlite/WriteConnection.h"

namespace CommonServices::Sqlite {

/// One write on its way to the file. It is made and owned by whoever asks for it, and its outcome stands in
/// it once the group that it was committed with is through.
class PendingWrite {
public:
    PendingWrite() = default;
    PendingWrite(const PendingWrite&) = delete;
    PendingWrite& operator=(const PendingWrite&) = delete;
    virtual ~PendingWrite() = default;

    /// Writes within the open transaction of the group, on the writer's thread. False when the store refuses
    /// what is asked; faults are thrown as `SQLite::Exception`. Either way nothing of it may stay behind.
    virtual bool Apply(WriteConnection& connection) = 0;
    virtual bool IsEvent() const { return false; }

    bool accepted = false;  ///< written by the writer's thread before the group ends, read after it
    bool dropped = false;   ///< the writer's own: it broke the transaction and is not tried again
};

class UpsertWrite final : public PendingWrite {
public:
    explicit UpsertWrite(const Weftline::Record& record) : m_record(record) {}
    bool Apply(WriteConnection& connection) override { return connection.Upsert(m_record); }

private:
    const Weftline::Record& m_record;
};

/// A record and the event that announces it, both or neither.
class UpsertAndAppendWrite final : public PendingWrite {
public:
    UpsertAndAppendWrite(const Weftline::Record& record, const Weftline::Record& event)
        : m_record(record), m_event(event) {}
    bool Apply(WriteConnection& connection) override { return connection.UpsertAndAppend(m_record, m_event); }
    bool IsEvent() const override { return true; }

private:
    const Weftline::Record& m_record;
    const Weftline::Record& m_event;
};

class DeleteWrite final : public PendingWrite {
public:
    explicit DeleteWrite(const std::vector<std::string>& ids) : m_ids(ids) {}
    bool Apply(WriteConnection& connection) override {
        connection.Delete(m_ids);
        return true;
    }

private:
    const std::vector<std::string>& m_ids;
};

class AppendWrite final : public PendingWrite {
public:
    explicit AppendWrite(const Weftline::Record& record) : m_record(record) {}
    bool Apply(WriteConnection& connection) override {
        connection.Append(m_record);
        return true;
    }
    bool IsEvent() const override { return true; }

private:
    const Weftline::Record& m_record;
};

/// An event that nobody waits for, so it brings the record along.
class DetachedAppendWrite final : public PendingWrite {
public:
    explicit DetachedAppendWrite(Weftline::Record record) : m_record(std::move(record)) {}
    bool Apply(WriteConnection& connection) override {
        connection.Append(m_record);
        return true;
    }
    bool IsEvent() const override { return true; }

private:
    Weftline::Record m_record;
};

class ReferenceIndexWrite final : public PendingWrite {
public:
    explicit ReferenceIndexWrite(const std::string& key) : m_key(key) {}
    bool Apply(WriteConnection& connection) override {
        connection.CreateReferenceIndex(m_key);
        return true;
    }

private:
    const std::string& m_key;
};

}  // namespace CommonServices::Sqlite
