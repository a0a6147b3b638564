// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/settings_store.h"

#include <sqlite3.h>

#include <QFile>

#include "gen/clock.h"
#include "gen/paths.h"

namespace ondarix {
namespace {

constexpr int kBusyTimeoutMs = 5000;
// Names compare as they did in the registry: without regard to the case of ASCII letters.
constexpr auto kSchema =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
    "CREATE TABLE IF NOT EXISTS settings ("
    "  key TEXT NOT NULL COLLATE NOCASE, name TEXT NOT NULL COLLATE NOCASE, value TEXT NOT NULL,"
    "  PRIMARY KEY (key, name)) WITHOUT ROWID;";

void BindText(sqlite3_stmt* statement, int index, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_text64(statement, index, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
}

QString ColumnText(sqlite3_stmt* statement, int column) {
    const void* text = sqlite3_column_blob(statement, column);
    return QString::fromUtf8(static_cast<const char*>(text), sqlite3_column_bytes(statement, column));
}

// The first process to come switches the journal to WAL, for which it needs the database alone; SQLite does
// not wait for that by itself.
int RunSchema(sqlite3* database) {
    int rc = SQLITE_OK;
    for (int waited = 0; waited < kBusyTimeoutMs; waited += 10) {
        rc = sqlite3_exec(database, kSchema, nullptr, nullptr, nullptr);
        if (rc != SQLITE_BUSY && rc != SQLITE_LOCKED) return rc;
        sqlite3_sleep(10);
    }
    return rc;
}

class LStatement {
  public:
    explicit LStatement(sqlite3_stmt* statement) : statement_(statement) {}
    ~LStatement() { sqlite3_finalize(statement_); }
    LStatement(const LStatement&) = delete;
    LStatement& operator=(const LStatement&) = delete;
    sqlite3_stmt* Get() const { return statement_; }
    explicit operator bool() const { return statement_ != nullptr; }

  private:
    sqlite3_stmt* statement_;
};

}  // namespace

LSettingsStore& LSettingsStore::Instance() {
    static LSettingsStore store;
    return store;
}

LSettingsStore::~LSettingsStore() { Close(); }

void LSettingsStore::Close() {
    sqlite3_close_v2(database_);
    database_ = nullptr;
}

bool LSettingsStore::OpenAt(const QString& folder) {
    const QByteArray file = (folder + QLatin1String("/settings.db")).toUtf8();
    int rc = sqlite3_open_v2(file.constData(), &database_,
                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc == SQLITE_OK) {
        sqlite3_busy_timeout(database_, kBusyTimeoutMs);
        rc = RunSchema(database_);
    }
    if (rc == SQLITE_OK) return true;
    Close();
    if (rc != SQLITE_NOTADB && rc != SQLITE_CORRUPT) return false;
    // Kept for whoever wants to look into it; the program goes on with its defaults.
    const QString path = QString::fromUtf8(file);
    QFile::rename(path, path + QStringLiteral(".broken-%1").arg(UnixTime()));
    for (const char* suffix : {"-wal", "-shm"}) QFile::remove(path + QLatin1String(suffix));
    return false;
}

bool LSettingsStore::Ready() {
    const QString folder = ConfigFolder();
    if (database_ && folder == folder_) return true;
    Close();
    folder_ = folder;
    // The second attempt finds a fresh database where the first has put a broken one aside.
    return !folder.isEmpty() && (OpenAt(folder) || OpenAt(folder));
}

sqlite3_stmt* LSettingsStore::Prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (!Ready() || sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr) != SQLITE_OK) return nullptr;
    return statement;
}

std::optional<QString> LSettingsStore::Read(const QString& keyPath, const QString& name) {
    const std::lock_guard guard(lock_);
    const LStatement select(Prepare("SELECT value FROM settings WHERE key = ? AND name = ?"));
    if (!select) return std::nullopt;
    BindText(select.Get(), 1, keyPath);
    BindText(select.Get(), 2, name);
    if (sqlite3_step(select.Get()) != SQLITE_ROW) return std::nullopt;
    return ColumnText(select.Get(), 0);
}

bool LSettingsStore::Write(const QString& keyPath, const QString& name, const QString& value) {
    const std::lock_guard guard(lock_);
    const LStatement upsert(
        Prepare("INSERT INTO settings (key, name, value) VALUES (?, ?, ?) "
                "ON CONFLICT (key, name) DO UPDATE SET value = excluded.value"));
    if (!upsert) return false;
    BindText(upsert.Get(), 1, keyPath);
    BindText(upsert.Get(), 2, name);
    BindText(upsert.Get(), 3, value);
    return sqlite3_step(upsert.Get()) == SQLITE_DONE;
}

bool LSettingsStore::Delete(const QString& keyPath, const QString& name) {
    const std::lock_guard guard(lock_);
    const LStatement remove(Prepare("DELETE FROM settings WHERE key = ? AND name = ?"));
    if (!remove) return false;
    BindText(remove.Get(), 1, keyPath);
    BindText(remove.Get(), 2, name);
    return sqlite3_step(remove.Get()) == SQLITE_DONE && sqlite3_changes(database_) > 0;
}

void LSettingsStore::List(const QString& prefix,
                          const std::function<void(const QString&, const QString&, const QString&)>& row) {
    const std::lock_guard guard(lock_);
    const LStatement select(
        Prepare("SELECT key, name, value FROM settings WHERE substr(key, 1, length(?1)) = ?1 COLLATE NOCASE "
                "ORDER BY key, name"));
    if (!select) return;
    BindText(select.Get(), 1, prefix);
    while (sqlite3_step(select.Get()) == SQLITE_ROW) {
        row(ColumnText(select.Get(), 0), ColumnText(select.Get(), 1), ColumnText(select.Get(), 2));
    }
}

}  // namespace ondarix
