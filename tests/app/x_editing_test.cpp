// SPDX-License-Identifier: GPL-3.0-or-later
// An hour at the editor in short: a real recording, a real mouse and keyboard, and another program that looks
// at the files in the end.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <utility>

#include "x_editor.h"

namespace ondarix {
namespace {

class XEditing : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(display.Works());
        ASSERT_TRUE(folder.isValid());
        ASSERT_TRUE(QFile::copy(QStringLiteral("/usr/share/sounds/alsa/Front_Center.wav"), In("speech.wav")));
    }
    QString In(const char* name) const { return folder.filePath(QLatin1String(name)); }

    void Tool(const QString& steps) const {
        display.Run(QStringLiteral("xdotool"), steps.split(u' ', Qt::SkipEmptyParts));
    }
    void Key(const char* key) const {
        Tool(QStringLiteral("key --clearmodifiers %1").arg(QLatin1String(key)));
    }
    // A window of this title, mapped. Not by a search that waits: one that begins at the wrong moment never
    // ends.
    bool Appears(const char* title) const {
        return SleepUntil([&] {
            QProcess search;
            search.setProcessEnvironment(display.environment);
            search.start(QStringLiteral("xdotool"),
                         {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                          QLatin1String(title)});
            return search.waitForFinished(5000) && search.exitCode() == 0;
        });
    }
    void Type(const QString& text) const {
        display.Run(QStringLiteral("xdotool"),
                    {QStringLiteral("sleep"), QStringLiteral("0.3"), QStringLiteral("type"),
                     QStringLiteral("--delay"), QStringLiteral("20"), text});
        Tool(QStringLiteral("sleep 0.3"));
    }
    // Late enough not to make a double click with the one before.
    void Click(int x, int y) const {
        Tool(QStringLiteral("mousemove %1 %2 sleep 0.5 click 1 sleep 0.1").arg(x).arg(y));
    }
    void Drag(int x, int y, int toX, int toY) const {
        const int between = (x + toX) / 2;
        Tool(QStringLiteral("mousemove %1 %2 sleep 0.05 mousedown 1 sleep 0.05 mousemove %3 %2 sleep 0.05 "
                            "mousemove %4 %5 sleep 0.05 mouseup 1 sleep 0.05")
                 .arg(x)
                 .arg(y)
                 .arg(between)
                 .arg(toX)
                 .arg(toY));
    }
    QJsonObject Active() const {
        return QJsonDocument::fromJson(editor->Tell({QStringLiteral("-state")}).text.toUtf8())
            .object()[QStringLiteral("active")]
            .toObject();
    }
    // Once the editor has come to it; the last answer otherwise.
    template <typename Done>
    QJsonObject Await(Done done) const {
        QJsonObject facts;
        EXPECT_TRUE(SleepUntil(
            [&] {
                facts = Active();
                return done(facts);
            },
            10000))
            << QJsonDocument(facts).toJson(QJsonDocument::Compact).toStdString();
        return facts;
    }
    static int64_t Number(const QJsonObject& facts, const char* name) {
        return facts[QLatin1String(name)].toInteger(-1);
    }
    int64_t CursorAfterClick(int x, int y) const {
        Click(x, y);
        return Number(Active(), "cursor");
    }
    QByteArray Raw(const QString& path, const QStringList& effects = {}) const {
        return display.Run("sox",
                           QStringList{"-D", path, "-t", "raw", "-e", "signed", "-b", "16", "-"} + effects);
    }
    // Finds the row of the markers by its effect: dragging there, and not in the ruler above it, moves the
    // only bookmark.
    bool DragBookmark(int x, int toX, int top, int bottom) const {
        const auto place = [this] {
            return Active()[QStringLiteral("bookmarks")].toArray()[0].toInteger(-1);
        };
        const int64_t before = place();
        for (int y = top; y < bottom; y += 8) {
            Drag(x, y, toX, y);
            if (place() != before) return true;
        }
        return false;
    }

    LXDisplay display;
    QTemporaryDir folder;
    std::unique_ptr<LDrivenEditor> editor;
};

TEST_F(XEditing, SelectCutPasteUndoMarkDragExportAndSave) {
    const QString exports = In("regions");
    ASSERT_TRUE(QDir().mkpath(exports));
    editor = std::make_unique<LDrivenEditor>(display, QStringList{In("speech.wav")});
    const int64_t frames = Number(Await([](const QJsonObject& f) { return !f.isEmpty(); }), "frames");
    ASSERT_GT(frames, 40000);
    ASSERT_TRUE(Appears("Ondarix Sound Editor"));
    const int y = 450;
    // Until the window manager has given the window its place, clicks mean other frames.
    int64_t far = -1;
    ASSERT_TRUE(SleepUntil([&] {
        const int64_t before = std::exchange(far, CursorAfterClick(900, y));
        return far > 0 && far == before && CursorAfterClick(500, y) < far;
    }));

    // The whole recording is in view, so two clicks tell how places on the screen become frames.
    const int64_t at500 = CursorAfterClick(500, y), at900 = CursorAfterClick(900, y);
    ASSERT_GT(at900, at500);
    EXPECT_NEAR(static_cast<double>(CursorAfterClick(700, y)), static_cast<double>(at500 + at900) / 2,
                static_cast<double>(frames) / 400);

    Drag(560, y, 760, y);
    const QJsonArray selection = Active()[QStringLiteral("selection")].toArray();
    const int64_t start = selection[0].toInteger(), end = selection[1].toInteger();
    ASSERT_GT(end - start, frames / 20);

    Key("ctrl+x");
    Await([&](const QJsonObject& f) { return Number(f, "frames") == frames - (end - start); });
    Key("ctrl+End");
    Await([&](const QJsonObject& f) { return Number(f, "cursor") == frames - (end - start); });
    Key("ctrl+v");
    Await([&](const QJsonObject& f) { return Number(f, "frames") == frames && f["undo"] == "Paste"; });
    Key("ctrl+z");
    Key("ctrl+z");
    Await([&](const QJsonObject& f) { return f["redo"] == "Cut" && f["undo"].toString().isEmpty(); });
    EXPECT_FALSE(Active()[QStringLiteral("modified")].toBool());
    Key("ctrl+y");
    Key("ctrl+y");
    Await([&](const QJsonObject& f) { return Number(f, "frames") == frames && f["undo"] == "Paste"; });
    // The paste has left a mark of its own; this test's stands alone.
    Await([this](const QJsonObject& f) {
        if (f["bookmarks"].toArray().isEmpty()) return true;
        editor->Run({QStringLiteral("Delete All Bookmarks")});
        return false;
    });

    const int64_t cursor = CursorAfterClick(600, y);
    Key("ctrl+b");
    Await([&](const QJsonObject& f) { return f["bookmarks"].toArray() == QJsonArray{qint64{cursor}}; });
    ASSERT_TRUE(DragBookmark(600, 800, 170, 260));
    const int64_t moved = Active()[QStringLiteral("bookmarks")].toArray()[0].toInteger();
    EXPECT_NEAR(static_cast<double>(moved - cursor), static_cast<double>(at900 - at500) / 2,
                static_cast<double>(frames) / 400);
    EXPECT_EQ(Active()[QStringLiteral("undo")].toString().toStdString(), "Move Bookmark");

    Drag(420, y, 620, y);
    Key("ctrl+r");
    Drag(800, y, 1000, y);
    Key("ctrl+r");
    const QJsonArray regions =
        Await([](const QJsonObject& f) { return f["regions"].toArray().size() == 2; })["regions"].toArray();

    // By name through the search line; the question about folder and format is answered as it stands.
    Key("ctrl+shift+q");
    Type(QStringLiteral("export all regions to folder"));
    Key("Return");
    ASSERT_TRUE(Appears("Export Regions"));
    Tool(QStringLiteral("sleep 0.5"));
    Key("alt+f");
    Key("ctrl+a");
    Type(exports);
    Key("Return");
    EXPECT_TRUE(SleepUntil(
        [&] { return QDir(exports).entryList({QStringLiteral("*.wav")}, QDir::Files).size() == 2; }, 10000));

    Key("ctrl+s");
    Await([](const QJsonObject& f) { return !f["modified"].toBool(); });

    // What sox makes of the same edits, and of the same regions.
    const QByteArray whole = Raw(QStringLiteral("/usr/share/sounds/alsa/Front_Center.wav"));
    const auto bytes = [](int64_t at) { return static_cast<qsizetype>(at * 2); };
    const QByteArray wanted =
        whole.left(bytes(start)) + whole.mid(bytes(end)) + whole.mid(bytes(start), bytes(end - start));
    EXPECT_EQ(Raw(In("speech.wav")), wanted);
    const QStringList files = QDir(exports).entryList({QStringLiteral("*.wav")}, QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), 2);
    for (int i = 0; i < 2; ++i) {
        const int64_t from = regions[i].toArray()[0].toInteger(), to = regions[i].toArray()[1].toInteger();
        EXPECT_EQ(Raw(QDir(exports).filePath(files[i])), wanted.mid(bytes(from), bytes(to - from))) << i;
    }
    EXPECT_TRUE(QFile::exists(In("speech.wav.odxm"))) << "the bookmark is kept beside the file";
}

// Each effect works in the background; what follows it is meant for its result.
TEST_F(XEditing, EffectsAndSavingInOneRequestFollowEachOther) {
    editor = std::make_unique<LDrivenEditor>(display, QStringList{In("speech.wav")});
    Await([](const QJsonObject& f) { return !f.isEmpty(); });
    const QByteArray before = Raw(In("speech.wav")), reversed = Raw(In("speech.wav"), {"reverse"});
    ASSERT_NE(before, reversed);
    const LAutomationReply answer =
        editor->Tell({"-command", "Reverse", "-command", "Reverse", "-command", "Reverse", "-save"});
    EXPECT_EQ(answer.code, 0) << answer.text.toStdString();
    EXPECT_EQ(Raw(In("speech.wav")), reversed);
    EXPECT_EQ(editor->Tell({"-command", "Reverse"}).code, 0);
    EXPECT_EQ(editor->Tell({"-save"}).code, 0);
    EXPECT_EQ(Raw(In("speech.wav")), before) << "in a request of its own too";
}

}  // namespace
}  // namespace ondarix
