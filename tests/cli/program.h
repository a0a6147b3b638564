// SPDX-License-Identifier: GPL-3.0-or-later
// Runs the real program in a home of its own and looks at what it leaves.
#pragma once
#include <gtest/gtest.h>

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <functional>
#include <memory>

namespace ondarix::test {

struct Outcome {
    int status = -1;  // -1: did not end by itself
    QByteArray out, err;
    int ErrorLines() const { return static_cast<int>(err.count('\n')); }
    QJsonObject Json() const;  // empty when it is no valid document
};

// One user's folders, with a folder for the files of the test beside them.
class Home {
  public:
    Home();
    QString File(const QString& name) const { return files_.filePath(name); }
    QString FilesFolder() const { return files_.path(); }
    QString HomeFolder() const { return home_.path(); }
    std::unique_ptr<QProcess> Start(const QStringList& arguments,
                                    const std::function<void()>& inChild = {}) const;
    Outcome Run(const QStringList& arguments, const std::function<void()>& inChild = {}) const;
    // Working files of any run, wherever below the home they lie, and folders that only a run makes.
    QStringList Leftovers() const;
    // Names in the folder of the test's files, hidden ones too.
    QStringList FileNames() const;

  private:
    QTemporaryDir home_, files_;
};

Outcome Wait(QProcess& process);
// Output of another program; fails the test when it cannot be run or fails.
QByteArray RunTool(const QString& program, const QStringList& arguments);
QByteArray FileContent(const QString& path);
void WriteFile(const QString& path, const QByteArray& content);

}  // namespace ondarix::test
