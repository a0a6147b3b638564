// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/settings_store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>

#include "gen/clock.h"
#include "gen/paths.h"

namespace ondarix {
namespace {

constexpr int kBusyTimeoutMs = 5000;
constexpr int kRetryMs = 10;
// Names compare without regard to the case of ASCII letters.
constexpr auto kSchema =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
    "CREATE TABLE IF NOT EXISTS settings ("
    "  key TEXT NOT NULL COLLATE NOCASE, name TEXT NOT NULL COLLATE NOCASE, value TEXT NOT NULL,"
    "  PRIMARY KEY (key, name)) WITHOUT ROWID;";

constexpr const char* kQueries[] = {
    "SELECT value FROM settings WHERE key = ? AND name = ?",
    "INSERT INTO settings (key, name, value) VALUES (?, ?, ?) "
    "ON CONFLICT (key, name) DO UPDATE SET value = excluded.value",
    "DELETE FROM settings WHERE key = ? AND name = ?",
    "SELECT key, name, value FROM settings WHERE substr(key, 1, length(?1)) = ?1 COLLATE NOCASE "
    "ORDER BY key, name",
};

bool MeansDamaged(int rc) { return (rc & 0xFF) == SQLITE_NOTADB || (rc & 0xFF) == SQLITE_CORRUPT; }

void BindText(sqlite3_stmt* statement, int index, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_text64(statement, index, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
}

QString ColumnText(sqlite3_stmt* statement, int column) {
    const void* text = sqlite3_column_blob(statement, column);
    return QString::fromUtf8(static_cast<const char*>(text), sqlite3_column_bytes(statement, column));
}

// The switch to WAL needs the database alone, and SQLite does not wait for that by itself.
int RunSchema(sqlite3* database) {
    const uint64_t start = TickCountMs();
    for (;;) {
        const int rc = sqlite3_exec(database, kSchema, nullptr, nullptr, nullptr);
        const bool busy = rc == SQLITE_BUSY || rc == SQLITE_LOCKED;
        if (!busy || TickCountMs() - start >= kBusyTimeoutMs) return rc;
        sqlite3_sleep(kRetryMs);
    }
}

// Opening and putting aside are done by one process at a time, so that nobody moves the fresh database that
// another has just made. Where the lock cannot be had the work goes on without it.
class LOpeningLock {
  public:
    explicit LOpeningLock(const QString& folder)
        : fd_(open(QFile::encodeName(folder + QLatin1String("/settings.lock")).constData(),
                   O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
        const uint64_t start = TickCountMs();
        while (fd_ >= 0 && flock(fd_, LOCK_EX | LOCK_NB) != 0) {
            if (TickCountMs() - start >= kBusyTimeoutMs) break;
            sqlite3_sleep(kRetryMs);
        }
    }
    ~LOpeningLock() {
        if (fd_ >= 0) close(fd_);
    }
    LOpeningLock(const LOpeningLock&) = delete;
    LOpeningLock& operator=(const LOpeningLock&) = delete;

  private:
    int fd_;
};

}  // namespace

LSettingsStore& LSettingsStore::Instance() {
    static LSettingsStore store;
    return store;
}

LSettingsStore::~LSettingsStore() { Close(); }

void LSettingsStore::Close() {
    for (sqlite3_stmt*& statement : statements_) {
        sqlite3_finalize(statement);
        statement = nullptr;
    }
    sqlite3_close_v2(database_);
    database_ = nullptr;
}

LSettingsStore::FileIdentity LSettingsStore::Identity() const {
    struct stat facts {};
    if (stat(file_.constData(), &facts) != 0) return {};
    return {facts.st_dev, facts.st_ino};
}

bool LSettingsStore::Ready() {
    const QString folder = ConfigFolder();
    if (database_ && folder == folder_ && Identity() == opened_) return true;
    Close();
    folder_ = folder;
    file_ = (folder + QLatin1String("/settings.db")).toUtf8();
    return !folder.isEmpty() && Open();
}

bool LSettingsStore::Open() {
    const LOpeningLock alone(folder_);
    int rc = OpenOnce();
    if (MeansDamaged(rc)) {
        PutAside(Identity());
        rc = OpenOnce();
    }
    return rc == SQLITE_OK;
}

int LSettingsStore::OpenOnce() {
    int rc = sqlite3_open_v2(file_.constData(), &database_,
                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc == SQLITE_OK) {
        sqlite3_busy_timeout(database_, kBusyTimeoutMs);
        rc = RunSchema(database_);
    }
    opened_ = Identity();
    if (rc != SQLITE_OK) Close();
    return rc;
}

// Kept, with its log, for whoever wants to look into it; the program goes on with its defaults.
void LSettingsStore::PutAside(const FileIdentity& damaged) {
    if (damaged.inode == 0 || Identity() != damaged) return;  // another process was here first
    const QString path = QString::fromUtf8(file_);
    const QString stem = path + QStringLiteral(".broken-%1").arg(UnixTime());
    QString aside = stem;
    for (int i = 2; QFile::exists(aside); ++i) aside = stem + QStringLiteral("-%1").arg(i);
    QFile::rename(path + QLatin1String("-wal"), aside + QLatin1String("-wal"));
    QFile::remove(path + QLatin1String("-shm"));
    QFile::rename(path, aside);
}

sqlite3_stmt* LSettingsStore::Prepared(Query query) {
    sqlite3_stmt*& statement = statements_[query];
    if (!statement)
        sqlite3_prepare_v3(database_, kQueries[query], -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return statement;
}

int LSettingsStore::Step(Query query, std::initializer_list<QString> texts, QStringList* cells) {
    sqlite3_stmt* statement = Prepared(query);
    if (!statement) return sqlite3_errcode(database_);
    int index = 0;
    for (const QString& text : texts) BindText(statement, ++index, text);
    int rc = sqlite3_step(statement);
    for (; rc == SQLITE_ROW; rc = sqlite3_step(statement)) {
        for (int i = 0; cells && i < sqlite3_column_count(statement); ++i) *cells += ColumnText(statement, i);
    }
    changed_ = sqlite3_changes(database_);
    sqlite3_reset(statement);
    return rc;
}

// `cells`: all columns of all rows, one after another.
int LSettingsStore::Run(Query query, std::initializer_list<QString> texts, QStringList* cells) {
    if (!Ready()) return SQLITE_CANTOPEN;
    const int rc = Step(query, texts, cells);
    if (!MeansDamaged(rc)) return rc;
    Close();
    {
        const LOpeningLock alone(folder_);
        PutAside(opened_);
    }
    if (cells) cells->clear();
    return Ready() ? Step(query, texts, cells) : SQLITE_CANTOPEN;
}

std::optional<QString> LSettingsStore::Read(const QString& keyPath, const QString& name) {
    const std::lock_guard guard(lock_);
    QStringList cells;
    Run(kRead, {keyPath, name}, &cells);
    return cells.isEmpty() ? std::nullopt : std::optional(cells.first());
}

bool LSettingsStore::Write(const QString& keyPath, const QString& name, const QString& value) {
    const std::lock_guard guard(lock_);
    return Run(kWrite, {keyPath, name, value}) == SQLITE_DONE;
}

bool LSettingsStore::Delete(const QString& keyPath, const QString& name) {
    const std::lock_guard guard(lock_);
    return Run(kDelete, {keyPath, name}) == SQLITE_DONE && changed_ > 0;
}

void LSettingsStore::List(const QString& prefix,
                          const std::function<void(const QString&, const QString&, const QString&)>& row) {
    QStringList cells;
    {
        const std::lock_guard guard(lock_);
        Run(kList, {prefix}, &cells);
    }
    for (qsizetype i = 0; i + 2 < cells.size(); i += 3) row(cells.at(i), cells.at(i + 1), cells.at(i + 2));
}

}  // namespace ondarix
