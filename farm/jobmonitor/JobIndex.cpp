#include "farm/jobmonitor/JobIndex.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <utility>

#include "base/log/PlatformLog.h"

namespace Quillon::Farm {

namespace {

constexpr int kLayoutVersion = 2;
constexpr char kInMemory[] = ":memory:";

constexpr char kColumns[] = "place, id, creator, parent, kind";

// The place is the last column of every index, so each of them gives its jobs in order. The counts save the
// walk over all jobs of a kind for their number; a trigger that kept them would have SQLite write a copy of
// every page that a job touches.
constexpr char kLayout[] = R"sql(
    CREATE TABLE jobs (
        place INTEGER PRIMARY KEY,
        id TEXT NOT NULL UNIQUE,
        creator TEXT NOT NULL,
        parent TEXT NOT NULL,
        kind TEXT NOT NULL
    );
    CREATE INDEX subtasks ON jobs (parent) WHERE parent <> '';
    CREATE TABLE counts (kind TEXT PRIMARY KEY, jobs INTEGER NOT NULL) WITHOUT ROWID;
    CREATE TABLE position (eventOffset INTEGER NOT NULL, eventId TEXT NOT NULL);
    INSERT INTO position VALUES (0, '');
)sql";

// Made when the log has been read to its end: for a million jobs at once they cost a fifth of what they do
// job by job. Until then lists are read past all that is not in them.
constexpr std::pair<const char*, const char*> kListIndexes[] = {
    {"jobsByCreator", "(creator)"},
    {"roots", "(parent) WHERE parent = ''"},
    {"jobsByBoth", "(creator, parent)"},
    {"jobsByKind", "(kind)"},
};

bool HasListIndexes(SQLite::Database& database) {
    const std::string last = std::rbegin(kListIndexes)->first;
    return database.execAndGet("SELECT count(*) FROM sqlite_master WHERE name = '" + last + "'").getInt() !=
           0;
}

std::string PageSql(const std::string& condition) {
    return std::string("SELECT ") + kColumns + " FROM jobs WHERE place < ?1" + condition +
           " ORDER BY place DESC LIMIT ?3 OFFSET ?2";
}

void MakePrivateFile(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor >= 0) {
        static_cast<void>(::fchmod(descriptor, S_IRUSR | S_IWUSR));  // an older one, or another umask
        ::close(descriptor);
    }
}

// One connection for everything, which alone has the file: no other could write or checkpoint beside it.
SQLite::Database Open(const std::string& path) {
    if (path != kInMemory) {
        MakePrivateFile(path);
    }
    SQLite::Database database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOMUTEX);
    database.exec(
        "PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
        "PRAGMA cache_size = -8192; PRAGMA journal_size_limit = 4194304");
    const int version = database.execAndGet("PRAGMA user_version").getInt();
    if (version == 0) {
        SQLite::Transaction transaction(database);
        database.exec(kLayout);
        database.exec("PRAGMA user_version = " + std::to_string(kLayoutVersion));
        transaction.commit();
    } else if (version != kLayoutVersion) {
        throw SQLite::Exception("it has layout version " + std::to_string(version));
    }
    database.execAndGet("SELECT count(*) FROM sqlite_master");  // a layout that cannot be read shows here
    return database;
}

void RemoveFile(const std::string& path, const SQLite::Exception& fault) {
    PlatformAbstraction::Log::Warning("The index of jobs '" + path +
                                      "' is made anew, for it cannot be used: " + fault.what());
    for (const char* const part : {"", "-wal", "-shm", "-journal"}) {
        std::filesystem::remove(path + part);
    }
}

SQLite::Database OpenOrBeginAnew(const std::string& path) {
    try {
        return Open(path);
    } catch (const SQLite::Exception& fault) {
        if ((fault.getErrorCode() & 0xff) == SQLITE_BUSY) {
            throw JobIndexInUse("The index of jobs '" + path + "' is in use by another process");
        }
        if (path == kInMemory) {
            throw;
        }
        RemoveFile(path, fault);
    }
    return Open(path);
}

// A statement that is left in the middle, or that failed, takes no new values before it is reset.
class Running {
public:
    explicit Running(SQLite::Statement& statement) : m_statement(statement) {}
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { m_statement.tryReset(); }

private:
    SQLite::Statement& m_statement;
};

std::vector<IndexedJob> ReadPage(SQLite::Statement& statement, std::int64_t place, std::int64_t skip,
                                 std::int32_t limit) {
    const Running running(statement);
    statement.bind(1, place);
    statement.bind(2, skip);
    statement.bind(3, limit);
    std::vector<IndexedJob> jobs;
    while (statement.executeStep()) {
        jobs.push_back({statement.getColumn(0).getInt64(), statement.getColumn(1).getString(),
                        statement.getColumn(2).getString(), statement.getColumn(3).getString(),
                        statement.getColumn(4).getString()});
    }
    return jobs;
}

void Run(SQLite::Statement& statement) {
    const Running running(statement);
    statement.exec();
}

}  // namespace

struct JobIndex::Tables {
    explicit Tables(const std::string& path)
        : database(OpenOrBeginAnew(path)),
          add(database, "INSERT INTO jobs VALUES (?1, ?2, ?3, ?4, ?5) ON CONFLICT DO NOTHING"),
          move(database, "UPDATE position SET eventOffset = ?1, eventId = ?2"),
          position(database, "SELECT eventOffset, eventId FROM position"),
          count(database,
                "INSERT INTO counts VALUES (?1, ?2) ON CONFLICT (kind) DO UPDATE SET jobs = jobs + ?2"),
          remove(database, "DELETE FROM jobs WHERE id = ?1 RETURNING kind"),
          all(database, PageSql("")),
          byCreator(database, PageSql(" AND creator = ?4")),
          byParent(database, PageSql(" AND parent = ?5 AND parent <> ''")),
          roots(database, PageSql(" AND parent = ''")),
          byBoth(database, PageSql(" AND creator = ?4 AND parent = ?5")),
          ofKind(database, std::string("SELECT ") + kColumns +
                               " FROM jobs WHERE place > ?1 AND kind = ?4 ORDER BY place LIMIT ?3 OFFSET ?2"),
          countOfKind(database, "SELECT jobs FROM counts WHERE kind = ?1"),
          children(database,
                   "SELECT id FROM jobs WHERE parent = ?1 AND parent <> '' ORDER BY place LIMIT ?2"),
          hasListIndexes(HasListIndexes(database)) {}

    SQLite::Statement& PageOf(const JobFilter& filter) {
        SQLite::Statement& page = filter.creator && filter.parent           ? byBoth
                                  : filter.creator                          ? byCreator
                                  : filter.parent && filter.parent->empty() ? roots
                                  : filter.parent                           ? byParent
                                                                            : all;
        if (filter.creator) {
            page.bindNoCopy(4, *filter.creator);
        }
        if (filter.parent && &page != &roots) {
            page.bindNoCopy(5, *filter.parent);
        }
        return page;
    }

    void Count(const std::map<std::string, std::int64_t>& changes) {
        for (const auto& [kind, jobs] : changes) {
            count.bindNoCopy(1, kind);
            count.bind(2, jobs);
            Run(count);
        }
    }

    SQLite::Database database;
    SQLite::Statement add;
    SQLite::Statement move;
    SQLite::Statement position;
    SQLite::Statement count;
    SQLite::Statement remove;
    SQLite::Statement all;
    SQLite::Statement byCreator;
    SQLite::Statement byParent;
    SQLite::Statement roots;
    SQLite::Statement byBoth;
    SQLite::Statement ofKind;
    SQLite::Statement countOfKind;
    SQLite::Statement children;
    bool hasListIndexes;
};

JobIndex::JobIndex(const std::string& path)
    : m_path(path.empty() ? kInMemory : path), m_pTables(std::make_unique<Tables>(m_path)) {}

JobIndex::~JobIndex() = default;

// Damage behind the first page shows only when somebody comes to it.
template <class Work>
auto JobIndex::With(const Work& work) {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    if (!m_pTables) {
        m_pTables = std::make_unique<Tables>(m_path);
    }
    try {
        return work(*m_pTables);
    } catch (const SQLite::Exception& fault) {
        if (fault.getErrorCode() != SQLITE_CORRUPT && fault.getErrorCode() != SQLITE_NOTADB) {
            throw;
        }
        m_pTables.reset();
        RemoveFile(m_path, fault);
    }
    m_pTables = std::make_unique<Tables>(m_path);
    throw JobIndexBegunAnew("The index of jobs was damaged");
}

IndexPosition JobIndex::Position() {
    return With([](Tables& tables) -> IndexPosition {
        SQLite::Statement& read = tables.position;
        const Running running(read);
        read.executeStep();
        return {read.getColumn(0).getInt64(), read.getColumn(1).getString()};
    });
}

void JobIndex::Add(const std::vector<IndexedJob>& jobs, const IndexPosition& position) {
    With([&](Tables& tables) {
        SQLite::Transaction transaction(tables.database);
        std::map<std::string, std::int64_t> added;
        for (const IndexedJob& job : jobs) {
            tables.add.bind(1, job.order);
            tables.add.bindNoCopy(2, job.id);
            tables.add.bindNoCopy(3, job.creator);
            tables.add.bindNoCopy(4, job.parent);
            tables.add.bindNoCopy(5, job.kind);
            Run(tables.add);
            if (tables.database.getChanges() != 0) {
                ++added[job.kind];
            }
        }
        tables.Count(added);
        tables.move.bind(1, position.offset);
        tables.move.bindNoCopy(2, position.eventId);
        Run(tables.move);
        transaction.commit();
    });
}

void JobIndex::Remove(const std::vector<std::string>& ids) {
    if (ids.empty()) {
        return;
    }
    With([&](Tables& tables) {
        SQLite::Transaction transaction(tables.database);
        std::map<std::string, std::int64_t> removed;
        for (const std::string& id : ids) {
            const Running running(tables.remove);
            tables.remove.bindNoCopy(1, id);
            while (tables.remove.executeStep()) {
                --removed[tables.remove.getColumn(0).getString()];
            }
        }
        tables.Count(removed);
        transaction.commit();
    });
}

void JobIndex::Clear() {
    With([](Tables& tables) {
        SQLite::Transaction transaction(tables.database);
        for (const auto& [name, columns] : kListIndexes) {
            tables.database.exec(std::string("DROP INDEX IF EXISTS ") + name);
        }
        tables.hasListIndexes = false;
        tables.database.exec(
            "DELETE FROM jobs; DELETE FROM counts; UPDATE position SET eventOffset = 0, eventId = ''");
        transaction.commit();
    });
}

void JobIndex::PrepareLists() {
    With([](Tables& tables) {
        if (tables.hasListIndexes) {
            return;
        }
        // Each in a transaction of its own, which keeps the log small. A stop in between leaves the last one
        // missing, and it is gone on with.
        for (const auto& [name, columns] : kListIndexes) {
            tables.database.exec(std::string("CREATE INDEX IF NOT EXISTS ") + name + " ON jobs " + columns);
        }
        tables.hasListIndexes = true;
    });
}

std::vector<IndexedJob> JobIndex::Newest(const JobFilter& filter, std::int64_t before, std::int64_t skip,
                                         std::int32_t limit) {
    return With([&](Tables& tables) { return ReadPage(tables.PageOf(filter), before, skip, limit); });
}

std::vector<IndexedJob> JobIndex::OfKind(const std::string& kind, std::int64_t after, std::int64_t skip,
                                         std::int32_t limit) {
    return With([&](Tables& tables) {
        tables.ofKind.bindNoCopy(4, kind);
        return ReadPage(tables.ofKind, after, skip, limit);
    });
}

std::int64_t JobIndex::CountOfKind(const std::string& kind) {
    return With([&](Tables& tables) {
        SQLite::Statement& count = tables.countOfKind;
        count.bindNoCopy(1, kind);
        const Running running(count);
        return count.executeStep() ? count.getColumn(0).getInt64() : 0;
    });
}

std::vector<std::string> JobIndex::ChildrenOf(const std::string& parent, std::int32_t limit) {
    return With([&](Tables& tables) {
        SQLite::Statement& children = tables.children;
        children.bindNoCopy(1, parent);
        children.bind(2, limit);
        const Running running(children);
        std::vector<std::string> ids;
        while (children.executeStep()) {
            ids.push_back(children.getColumn(0).getString());
        }
        return ids;
    });
}

}  // namespace Quillon::Farm
