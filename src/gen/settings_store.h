// SPDX-License-Identifier: GPL-3.0-or-later
// The database below the settings: one connection a process, guarded by a lock; private to src/gen.
#pragma once
#include <sys/types.h>

#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace ondarix {

// Looks at the file before every use: a folder or a database that has been replaced meanwhile is opened
// anew. A database that SQLite calls damaged is put aside as settings.db.broken-<time>, whenever that shows,
// and an empty one takes its place. [any]
class LSettingsStore {
  public:
    static LSettingsStore& Instance();

    // Nullopt when absent or unreadable.
    std::optional<QString> Read(const QString& keyPath, const QString& name);
    bool Write(const QString& keyPath, const QString& name, const QString& value);
    bool Delete(const QString& keyPath, const QString& name);  // true when something was there
    // Rows below a key path prefix, ordered by key path and name.
    void List(
        const QString& prefix,
        const std::function<void(const QString& keyPath, const QString& name, const QString& value)>& row);

    ~LSettingsStore();
    LSettingsStore(const LSettingsStore&) = delete;
    LSettingsStore& operator=(const LSettingsStore&) = delete;

  private:
    enum Query { kRead, kWrite, kDelete, kList, kQueryCount };
    struct FileIdentity {
        dev_t device = 0;
        ino_t inode = 0;  // 0: there is no file
        bool operator==(const FileIdentity&) const = default;
    };

    LSettingsStore() = default;
    FileIdentity Identity() const;
    bool Ready();
    bool Open();
    int OpenOnce();
    void PutAside(const FileIdentity& damaged);
    void Close();
    sqlite3_stmt* Prepared(Query query);
    int Step(Query query, std::initializer_list<QString> texts, QStringList* cells);
    int Run(Query query, std::initializer_list<QString> texts, QStringList* cells = nullptr);

    std::mutex lock_;
    sqlite3* database_ = nullptr;
    std::array<sqlite3_stmt*, kQueryCount> statements_{};
    QString folder_;
    QByteArray file_;
    FileIdentity opened_;
    int changed_ = 0;  // rows that the last statement changed
};

}  // namespace ondarix
