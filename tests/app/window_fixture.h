// SPDX-License-Identifier: GPL-3.0-or-later
// A real frame with real files, without a desktop.
#pragma once
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "app/commands.h"
#include "app/frame.h"
#include "app/recent_files.h"
#include "formats/registry.h"
#include "gen/settings.h"
#include "gtest/gtest.h"
#include "sound/cache.h"

namespace ondarix {

// Answers what the test says and keeps what was said.
class LScriptedMessages final : public LMessageHost {
  public:
    void Tell(const QString& title, const QString& text) override {
        told.append(title + QStringLiteral(": ") + text);
    }
    int Ask(const QString&, const QString& text, const QStringList&, int safe, const QString&,
            bool*) override {
        asked.append(text);
        return answers.isEmpty() ? safe : answers.takeFirst();
    }
    QStringList told, asked;
    QList<int> answers;
};

class WindowTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        ASSERT_TRUE(OpenCache());
        for (const SettingRow& row : ListSettings()) DeleteSetting(row.section, row.name);
        QGuiApplication::clipboard()->clear();
        frame = std::make_unique<LMainFrame>();
        auto host = std::make_unique<LScriptedMessages>();
        messages = host.get();
        frame->SetMessageHost(std::move(host));
        frame->setWindowState(Qt::WindowNoState);
        frame->resize(1100, 700);
        frame->show();
        QTest::qWait(1);
    }
    void TearDown() override {
        frame.reset();
        CloseCache();
    }

    QString In(const char* name) const { return folder.filePath(QLatin1String(name)); }

    static QByteArray Sox(const QStringList& arguments) {
        QProcess sox;
        sox.start(QStringLiteral("sox"), arguments);
        EXPECT_TRUE(sox.waitForFinished(30000) && sox.exitCode() == 0)
            << sox.readAllStandardError().toStdString();
        return sox.readAllStandardOutput();
    }
    // A file with another tone in each channel.
    QString MakeWav(const char* name, const char* bits = "16", const char* seconds = "3") const {
        Sox({"-D", "-n", "-r", "44100", "-b", bits, "-c", "2", In(name), "synth", seconds, "sine", "441",
             "sine", "630", "vol", "0.7"});
        return In(name);
    }
    // The samples of a file, read by another program.
    static QByteArray Samples(const QString& path, const QStringList& effects = {}) {
        return Sox(QStringList{"-D", path, "-t", "raw", "-e", "signed", "-b", "32", "-"} + effects);
    }
    LSoundWindow* Open(const QString& path) {
        EXPECT_TRUE(frame->OpenSound(path)) << messages->told.join(QLatin1Char('|')).toStdString();
        QTest::qWait(1);
        return frame->ActiveSound();
    }
    static void Drag(LWaveView& view, int from, int to) {
        const int y = view.height() / 2;
        QTest::mousePress(&view, Qt::LeftButton, {}, {from, y});
        QTest::mouseMove(&view, {(from + to) / 2, y});
        QTest::mouseMove(&view, {to, y});
        QTest::mouseRelease(&view, Qt::LeftButton, {}, {to, y});
    }

    QTemporaryDir folder;
    LScriptedMessages* messages = nullptr;
    std::unique_ptr<LMainFrame> frame;
};

}  // namespace ondarix
