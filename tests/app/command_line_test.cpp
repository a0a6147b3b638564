// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line_processor.h"

#include <gmock/gmock.h>

#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace ondarix {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Writes down what is asked of it.
class RecordingFrame : public LFrameActions {
  public:
    std::vector<std::string> calls;
    bool accepts = true;
    bool mayClose = true;
    int openLimit = 100;

    bool CanAcceptWork() const override { return accepts; }
    void BringForward() override { Note("forward"); }
    void SaveActive() override { Note("save"); }
    void SaveActiveAs(const QString& path) override { Note("saveas " + path); }
    void HideToBackground() override { Note("hide"); }
    bool CanClose() override { return Note("ask"), mayClose; }
    void PostClose(bool asked) override { Note(asked ? "close" : "force"); }
    bool Play(int64_t from, int64_t to) override {
        return Note(QStringLiteral("play %1 %2").arg(from).arg(to));
    }
    bool Record() override { return Note("record"); }
    bool StopAll() override { return Note("stop"); }
    bool RestartPlayback() override { return Note("restart"); }
    void Minimize() override { Note("minimize"); }
    void Maximize() override { Note("maximize"); }
    void Restore() override { Note("restore"); }
    void ResizeClient(std::optional<int> width, std::optional<int> height) override {
        Note(QStringLiteral("size %1 %2").arg(width.value_or(-1)).arg(height.value_or(-1)));
    }
    bool StartBatch(const LBatchRequest& request) override {
        batch = request;
        return Note("batch");
    }
    void Tell(const QString& title, const QString&) override { Note("tell " + title); }
    bool OpenSound(const QString& path) override {
        ++opened;
        return Note("open " + path);
    }
    bool OpenProject(const QString& path) override { return Note("project " + path); }
    bool MayOpenMore() const override { return opened < openLimit; }
    void OpenLink(const QString& link) override { Note("link " + link); }
    void AddListener(const QString& name) override { Note("listener " + name); }

    LBatchRequest batch;
    int opened = 0;

  private:
    bool Note(const QString& call) {
        calls.push_back(call.toStdString());
        return true;
    }
    bool Note(const char* call) { return Note(QString::fromLatin1(call)); }
};

class CommandLine : public testing::Test {
  protected:
    std::vector<std::string> Calls(const QStringList& arguments) {
        frame.calls.clear();
        EXPECT_EQ(
            LCommandLineProcessor(frame).Process(QStringList{QStringLiteral("ondarix")} + arguments, reply),
            0);
        EXPECT_EQ(reply, QString());
        return frame.calls;
    }
    std::vector<std::string> Calls(const char* arguments) {
        return Calls(QString::fromUtf8(arguments).split(u' '));
    }
    RecordingFrame frame;
    QString reply;
};

TEST_F(CommandLine, SingleRequestsAnswerCodeAndText) {
    struct {
        QStringList arguments;
        int code;
        QString reply;
    } const cases[] = {
        {{}, -2, QStringLiteral("Command Not Specified.")},
        {{QStringLiteral("ondarix")}, -2, QStringLiteral("Command Not Specified.")},
        {{QStringLiteral("x"), QStringLiteral("-TestAPI"), QStringLiteral("%s %1")},
         0,
         QStringLiteral("API Test OK [%s %1].")},
        {{QStringLiteral("x"), QStringLiteral("-testapi")}, -1, QStringLiteral("API Test Fail (No data).")},
        {{QStringLiteral("x"), QStringLiteral("-version")}, 0, QStringLiteral(ONDARIX_VERSION)},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(LCommandLineProcessor(frame).Process(row.arguments, reply), row.code);
        EXPECT_EQ(reply, row.reply);
    }
    EXPECT_THAT(frame.calls, IsEmpty());
}

TEST_F(CommandLine, StateIsJson) {
    const LProgramState told{{QStringLiteral("/a \"b\".wav"), QStringLiteral("Untitled_1")},
                             {QStringLiteral("meter")}};
    LCommandLineProcessor(frame, [&] {
        return told;
    }).Process({QStringLiteral("x"), QStringLiteral("-state")}, reply);
    const QJsonObject state = QJsonDocument::fromJson(reply.toUtf8()).object();
    EXPECT_EQ(state[QStringLiteral("pid")].toInt(), getpid());
    EXPECT_EQ(state[QStringLiteral("open")].toVariant().toStringList(), told.open);
    EXPECT_EQ(state[QStringLiteral("listeners")].toVariant().toStringList(), told.listeners);
}

TEST_F(CommandLine, EverySwitchDoesItsOwn) {
    EXPECT_THAT(Calls("-block -runedit"), IsEmpty());
    EXPECT_THAT(Calls("-SAVE"), ElementsAre("forward", "save"));
    EXPECT_THAT(Calls("-saveas /x.wav -save"), ElementsAre("forward", "saveas /x.wav", "forward", "save"));
    EXPECT_THAT(Calls("-saveas"), ElementsAre("forward"));
    EXPECT_THAT(Calls("-close"), ElementsAre("hide"));
    EXPECT_THAT(Calls("-exit"), ElementsAre("ask", "close"));
    EXPECT_THAT(Calls("-play -record -stop -restart"),
                ElementsAre("play -1 -1", "record", "stop", "restart"));
    EXPECT_THAT(Calls("-minimize -maximize -restore"), ElementsAre("minimize", "maximize", "restore"));
    frame.mayClose = false;
    EXPECT_THAT(Calls("-exit -stop"), ElementsAre("ask", "stop"));
}

TEST_F(CommandLine, WindowNeedsBothSizesAndKeepsWhatIsEmpty) {
    const QString window = QStringLiteral("-window");
    EXPECT_THAT(Calls("-window 800 600 -stop"), ElementsAre("forward", "size 800 600", "stop"));
    EXPECT_THAT(Calls("-window 800"), ElementsAre("forward"));
    EXPECT_THAT(Calls("-window"), ElementsAre("forward"));
    EXPECT_THAT(Calls({window, QString(), QStringLiteral("600")}), ElementsAre("forward", "size -1 600"));
    EXPECT_THAT(Calls({window, QStringLiteral("800"), QString()}), ElementsAre("forward", "size 800 -1"));
    EXPECT_THAT(Calls("-window -5 99999999999 -stop"), ElementsAre("forward", "stop"));
}

TEST_F(CommandLine, ABusyFrameEndsTheLoopButKeepsTheListener) {
    frame.accepts = false;
    EXPECT_THAT(Calls("-addlistener one /a.wav -addlistener two"), ElementsAre("listener one"));
    for (const char* line :
         {"-save", "-saveas /a.wav", "-close", "-exit", "-window 1 1", "-batch -run", "-list /l"})
        EXPECT_THAT(Calls(line), IsEmpty()) << line;
    frame.accepts = true;
    EXPECT_THAT(Calls("-addlistener one -addlistener two -stop"), ElementsAre("stop", "listener two"));
    EXPECT_THAT(Calls("-addlistener"), IsEmpty());
    EXPECT_EQ(Calls({QStringLiteral("-addlistener"), QString(300, u'n')})[0].size(), 9u + 259u);
}

TEST_F(CommandLine, PathsGoByTheirExtension) {
    EXPECT_THAT(Calls("/a.wav /b.ODXP /noextension /c.flac"),
                ElementsAre("forward", "open /a.wav", "forward", "project /b.ODXP", "forward", "forward",
                            "open /c.flac"));
    EXPECT_THAT(Calls("jobs.odxb"), ElementsAre("forward", "batch"));
    EXPECT_EQ(frame.batch.batchFile, QDir::currentPath() + QStringLiteral("/jobs.odxb"));
    EXPECT_THAT(Calls("-unknown"), ElementsAre("forward"));
}

TEST_F(CommandLine, BatchTakesTheRest) {
    EXPECT_THAT(Calls("-stop -batch a.wav -inpdir /in -destdir /out -OUTPUT flac x.odxb -quit -stop"),
                ElementsAre("stop", "forward", "batch"));
    EXPECT_EQ(frame.batch.files, (QStringList{QStringLiteral("a.wav"), QStringLiteral("-stop")}));
    EXPECT_EQ(frame.batch.inputFolder, QStringLiteral("/in"));
    EXPECT_EQ(frame.batch.outputFolder, QStringLiteral("/out"));
    EXPECT_EQ(frame.batch.outputFormat, QStringLiteral("flac"));
    EXPECT_EQ(frame.batch.batchFile, QDir::currentPath() + QStringLiteral("/x.odxb"));
    EXPECT_TRUE(frame.batch.runAtOnce && frame.batch.quitWhenDone);

    EXPECT_THAT(Calls("-batch -run"), ElementsAre("forward", "batch"));
    EXPECT_TRUE(frame.batch.runAtOnce && !frame.batch.quitWhenDone);
    EXPECT_THAT(Calls("-batch -inpdir"), ElementsAre("forward", "tell Input folder name not given"));
    EXPECT_THAT(Calls("-batch -destdir"), ElementsAre("forward", "tell Output folder name not given"));
    EXPECT_THAT(Calls("-batch -output"), ElementsAre("forward", "tell Output format type not given"));
}

TEST_F(CommandLine, ListOpensLinesWhileTheLimitAllows) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("list.txt"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("/a.wav\r\n\r\nsub/b.wav\n/c.wav\n");
    file.close();
    const std::string relative = "open " + folder.filePath(QStringLiteral("sub/b.wav")).toStdString();
    EXPECT_THAT(Calls({QStringLiteral("-list"), path}),
                ElementsAre("forward", "open /a.wav", relative, "open /c.wav"));
    frame.opened = 0;
    frame.openLimit = 2;
    EXPECT_THAT(Calls({QStringLiteral("-list"), path, QStringLiteral("-stop")}),
                ElementsAre("forward", "open /a.wav", relative, "stop"));
    EXPECT_THAT(Calls("-list /nowhere/list.txt -stop"), ElementsAre("forward", "stop"));
    EXPECT_THAT(Calls({QStringLiteral("-list"), folder.path()}), ElementsAre("forward"));
    EXPECT_THAT(Calls("-list"), ElementsAre("forward"));
}

TEST(PathList, ReadsEveryEncodingThatTextComesIn) {
    const QStringList expected{QStringLiteral("/\u00e4\u97f3.wav"), QStringLiteral("/b.wav")};
    const QString text = expected.join(QStringLiteral("\r\n"));
    const auto inUtf16 = [&](char first, char second, bool swap) {
        QByteArray bytes(1, first);
        bytes.append(second);
        for (const QChar c : text) {
            const char low = static_cast<char>(c.unicode() & 0xff),
                       high = static_cast<char>(c.unicode() >> 8);
            bytes.append(swap ? high : low).append(swap ? low : high);
        }
        return bytes;
    };
    EXPECT_EQ(PathsOfList(text.toUtf8()), expected);
    EXPECT_EQ(PathsOfList("\xef\xbb\xbf" + text.toUtf8()), expected);
    EXPECT_EQ(PathsOfList(inUtf16('\xff', '\xfe', false)), expected);
    EXPECT_EQ(PathsOfList(inUtf16('\xfe', '\xff', true)), expected);
    EXPECT_EQ(PathsOfList("/caf\xe9.wav\r/b.wav"),
              (QStringList{QStringLiteral("/caf\u00e9.wav"), expected[1]}));
    EXPECT_EQ(PathsOfList(QByteArray(kListBytes + 1, 'x')), QStringList());
}

TEST(PortableArguments, MeanTheSameInAnotherFolder) {
    const QTemporaryDir folder;
    for (const char* name : {"here.wav", "-odd.wav", "flac"}) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const auto portable = [&](const char* line) {
        const QString text =
            MakeArgumentsPortable(QString::fromUtf8(line).split(u' '), folder.path()).join(u' ');
        return QString(text).replace(folder.path(), QStringLiteral("~")).toStdString();
    };
    EXPECT_EQ(portable("./ondarix here.wav missing.wav"), "./ondarix ~/here.wav missing.wav");
    EXPECT_EQ(portable("x /abs/../here.wav ../missing ./here.wav"),
              "x /abs/../here.wav ../missing ~/here.wav");
    EXPECT_EQ(portable("x -odd.wav -play"), "x -odd.wav -play");
    EXPECT_EQ(portable("x -saveas new.wav -list here.wav -addlistener here.wav"),
              "x -saveas ~/new.wav -list ~/here.wav -addlistener here.wav");
    EXPECT_EQ(portable("x -window here.wav here.wav here.wav"), "x -window here.wav here.wav ~/here.wav");
    EXPECT_EQ(portable("x -batch -inpdir in -destdir out -output flac here.wav -list here.wav"),
              "x -batch -inpdir ~/in -destdir ~/out -output flac ~/here.wav -list ~/here.wav");
    EXPECT_EQ(portable("x file:///a%20b.wav vmk.ondarix:here.wav"), "x /a b.wav vmk.ondarix:here.wav");
    EXPECT_EQ(MakeArgumentsPortable({}, folder.path()), QStringList());
}

TEST(Links, AreArgumentsOfTheirOwn) {
    const QString link = QStringLiteral("vmk.ondarix:open?x");
    EXPECT_EQ(LinkArgument({QStringLiteral("x"), link}), link);
    EXPECT_EQ(LinkArgument({QStringLiteral("x"), link, link}), QString());
    EXPECT_EQ(LinkArgument({QStringLiteral("x"), QStringLiteral("vmk.ondarix")}), QString());
}

}  // namespace
}  // namespace ondarix
