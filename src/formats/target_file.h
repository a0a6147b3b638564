// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QByteArray>
#include <QString>

namespace ondarix {

// How a save takes the place of its target. The new file is written beside the target under a hidden name,
// and renamed over it by Commit after everything is on disk: at any moment the target is the old file or the
// new one, whole. What dead processes left of the same target is removed first. In a folder that may not be
// written, an existing file is written in place with a backup copy in the temporary folder.
// A symbolic link stays; the file behind it is replaced. Not committed: the target is as it was.
class LTargetFile {
  public:
    explicit LTargetFile(const QString& target);
    ~LTargetFile();
    LTargetFile(const LTargetFile&) = delete;
    LTargetFile& operator=(const LTargetFile&) = delete;

    bool IsOpen() const { return fd_ >= 0; }
    const QString& WritePath() const { return writePath_; }
    // Syncs and takes the place, with the mode (and where permitted the owner) of the old file. False: the
    // target is as it was.
    bool Commit();
    // Puts the target back now. True unless a backup could not be copied back; it is kept then.
    bool Abandon();
    const QString& BackupPath() const { return backupPath_; }

  private:
    void OpenBeside(bool exists);
    void OpenInPlace();
    void RemoveStale(const QByteArray& prefix) const;
    void KeepOldFacts() const;

    QString target_;
    QByteArray folder_;
    QString writePath_;
    QString backupPath_;  // empty: not written in place
    int fd_ = -1;
    int oldFd_ = -1;  // the target as it stood, for its mode and owner
};

}  // namespace ondarix
