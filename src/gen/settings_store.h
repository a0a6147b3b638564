// SPDX-License-Identifier: GPL-3.0-or-later
// The database below the settings: one connection a process, guarded by a lock; private to src/gen.
#pragma once
#include <QString>
#include <functional>
#include <mutex>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace ondarix {

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
    LSettingsStore() = default;
    bool Ready();  // opens, or opens anew when the configuration folder is another one now
    bool OpenAt(const QString& folder);
    void Close();
    sqlite3_stmt* Prepare(const char* sql);

    std::mutex lock_;
    sqlite3* database_ = nullptr;
    QString folder_;
};

}  // namespace ondarix
