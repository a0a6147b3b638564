// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/program.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>

namespace ondarix::test {

QJsonObject Outcome::Json() const {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(out, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << out.toStdString();
    return document.object();
}

Home::Home() { EXPECT_TRUE(home_.isValid() && files_.isValid()); }

std::unique_ptr<QProcess> Home::Start(const QStringList& arguments,
                                      const std::function<void()>& inChild) const {
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ONDARIX_HOME", home_.path());
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(files_.path());
    if (inChild) process->setChildProcessModifier(inChild);
    process->start(ONDARIX_CLI, arguments);
    EXPECT_TRUE(process->waitForStarted());
    return process;
}

Outcome Home::Run(const QStringList& arguments, const std::function<void()>& inChild) const {
    return Wait(*Start(arguments, inChild));
}

QStringList Home::Leftovers() const {
    QStringList left;
    QDirIterator walk(home_.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        const QString suffix = walk.fileInfo().suffix();
        const bool isRunsFolder = walk.fileInfo().isDir() && path.contains("/private/");
        if (suffix == "aud" || suffix == "grf" || suffix == "audinfo" || isRunsFolder) left += path;
    }
    return left;
}

QStringList Home::FileNames() const {
    return QDir(files_.path())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

Outcome Wait(QProcess& process) {
    Outcome outcome;
    if (process.state() != QProcess::NotRunning && !process.waitForFinished(60'000)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "does not end: " << process.arguments().join(' ').toStdString();
    } else if (process.exitStatus() == QProcess::NormalExit) {
        outcome.status = process.exitCode();
    }
    outcome.out = process.readAllStandardOutput();
    outcome.err = process.readAllStandardError();
    return outcome;
}

QByteArray RunTool(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    const Outcome outcome = Wait(process);
    EXPECT_EQ(outcome.status, 0) << program.toStdString() << ' ' << arguments.join(' ').toStdString() << '\n'
                                 << outcome.err.toStdString();
    return outcome.out;
}

QByteArray FileContent(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void WriteFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(content), content.size());
}

}  // namespace ondarix::test
