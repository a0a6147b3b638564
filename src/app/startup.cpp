// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/startup.h"

#include <QAbstractButton>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <optional>

#include "app/application.h"
#include "app/background_registry.h"
#include "app/command_line_processor.h"
#include "app/deferred_delete.h"
#include "app/frame.h"
#include "app/instance.h"
#include "app/marker_file.h"
#include "app/playback.h"
#include "app/progress_dialog.h"
#include "app/signals.h"
#include "gen/paths.h"
#include "gen/phase.h"
#include "gen/settings.h"
#include "sound/cache.h"

namespace ondarix {

void (*gOfferRecovery)(QWidget* frame) = nullptr;

namespace {

constexpr int kExitNoWindow = 2;
constexpr int kRunLockBudgetMs = 20000;
constexpr int kMaxHandOvers = 256;
constexpr int kHandOverRetryMs = 50;

constexpr const char* kUsage =
    "Usage: ondarix [SWITCH]... [FILE]...\n"
    "Opens sounds, projects (.odxp) and batches (.odxb) in the Ondarix sound editor. When it runs already, "
    "it\n"
    "does what the arguments say.\n"
    "\n"
    "  -save                    save the active sound under its name\n"
    "  -saveas FILE             save the active sound under another name\n"
    "  -list FILE               open the sounds that a text file lists, one path a line\n"
    "  -play, -record, -stop, -restart\n"
    "                           playback and recording\n"
    "  -command COMMAND         run a command of the menus, by its number or its text\n"
    "  -window WIDTH HEIGHT     size of the window's inside\n"
    "  -minimize, -maximize, -restore\n"
    "                           state of the window\n"
    "  -close                   hide the window and go on in the background\n"
    "  -exit                    end the program\n"
    "  -batch [-run] [-quit] [-inpdir FOLDER] [-destdir FOLDER] [-output FORMAT] [FILE]...\n"
    "                           convert files; must come last\n"
    "  --help, --version\n";

QStringList ArgumentsOf(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments.append(QFile::decodeName(argv[i]));
    return MakeArgumentsPortable(arguments, QDir::currentPath());
}

// Requests that are answered on standard output without a window.
bool AnswersWithoutWindow(const QStringList& arguments) {
    if (arguments.size() != 2) return false;
    if (arguments[1] == QLatin1String("--help")) {
        std::fputs(kUsage, stdout);
        return true;
    }
    if (arguments[1] != QLatin1String("--version")) return false;
    std::puts("ondarix " ONDARIX_VERSION);
    return true;
}

bool HasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (!qEnvironmentVariableIsEmpty(name)) return true;
    return false;
}

enum class Role : uint8_t { kSender, kInstance, kNeither };

// An instance that is closing does not answer any more, and holds its lock until it has ended: then this
// process takes its place.
Role FindRole(const QStringList& arguments, LRuntimeLock& runLock) {
    QElapsedTimer waiting;
    waiting.start();
    for (;;) {
        if (HandOver(arguments) != HandOverResult::kNoInstance) return Role::kSender;
        if (runLock.Take(0)) return Role::kInstance;
        if (waiting.hasExpired(kRunLockBudgetMs)) return Role::kNeither;
        QThread::msleep(50);
    }
}

// The frame with everything around it that lives as long.
class EditorRun {
  public:
    EditorRun(LApplication& application, LRuntimeLock& startLock)
        : application_(application), startLock_(startLock) {}
    void Start(const QStringList& arguments);
    void Finish();

  private:
    void TakeHandOver(const QStringList& arguments);
    void WorkOffHandOvers();
    void WorkThrough(const QStringList& arguments);
    int Process(const QStringList& arguments, QString& reply);
    LProgramState State() const;
    void AskAboutLastRun();

    LApplication& application_;
    LRuntimeLock& startLock_;
    bool closing_ = false;
    QList<QStringList> handOvers_;  // not yet worked through
    LMarkerFile marker_;
    std::unique_ptr<LMainFrame> frame_;
    std::optional<LInstanceServer> instance_, automation_;
    std::optional<LSignalWatch> signals_;
};

void EditorRun::Start(const QStringList& arguments) {
    const bool lastRunCrashed = marker_.Begin(LMarkerFile::DefaultPath());
    SetProgramPhase(kPhaseWindowInit);
    frame_ = std::make_unique<LMainFrame>();
    application_.SetMainWindow(frame_.get());
    signals_.emplace([this] {
        LProgressDialog::CancelAll();
        frame_->PostClose(false);
    });

    LInstanceServer::Handlers handlers;
    handlers.bringForward = [this] {
        if (!closing_) frame_->BringForward();
    };
    handlers.handOver = [this](const QStringList& list) { TakeHandOver(list); };
    handlers.automation = [this](const QStringList& list, QString& reply) { return Process(list, reply); };
    instance_.emplace(LInstanceServer::Kind::kInstance, handlers).Listen(InstanceSocketPath());
    automation_.emplace(LInstanceServer::Kind::kAutomation, handlers).Listen(AutomationSocketPath());

    frame_->show();
    if (lastRunCrashed) AskAboutLastRun();
    if (gOfferRecovery) gOfferRecovery(frame_.get());
    QString reply;
    Process(arguments, reply);
    startLock_.Release();
    SetProgramPhase(kPhaseRunning);
    frame_->AfterStartup();
}

// Several files opened at once from outside come as one hand-over each, and the later ones arrive while a job
// loads the first: they wait for its end.
void EditorRun::TakeHandOver(const QStringList& arguments) {
    if (handOvers_.size() >= kMaxHandOvers) return;
    handOvers_.append(arguments);
    if (handOvers_.size() == 1 || !LProgressDialog::IsAnyRunning()) WorkOffHandOvers();
}

void EditorRun::WorkOffHandOvers() {
    while (!handOvers_.isEmpty() && !closing_) {
        if (LProgressDialog::IsAnyRunning()) {
            QTimer::singleShot(kHandOverRetryMs, &application_, [this] { WorkOffHandOvers(); });
            return;
        }
        WorkThrough(handOvers_.takeFirst());
    }
}

// `arguments` is never empty.
void EditorRun::WorkThrough(const QStringList& arguments) {
    const QString link = LinkArgument(arguments);
    QString reply;
    if (arguments.size() == 1)
        frame_->BringForward();
    else if (!link.isEmpty())
        frame_->OpenLink(link);
    else
        Process(arguments, reply);
}

int EditorRun::Process(const QStringList& arguments, QString& reply) {
    return LCommandLineProcessor(*frame_, [this] { return State(); }).Process(arguments, reply);
}

// Frames throughout. Lists end where the answer would grow too long for a reply.
QJsonObject FactsOf(const LSoundDocument& document) {
    constexpr size_t kMostMarksTold = 200;
    QJsonArray bookmarks, regions;
    for (size_t i = 0; i < std::min(document.bookmarks.size(), kMostMarksTold); ++i)
        bookmarks.append(qint64{document.bookmarks[i].position});
    for (size_t i = 0; i < std::min(document.regions.size(), kMostMarksTold); ++i)
        regions.append(
            QJsonArray{qint64{document.regions[i].startFrame}, qint64{document.regions[i].endFrame}});
    return {{QStringLiteral("title"), document.title},
            {QStringLiteral("rate"), document.sound.sampleRate},
            {QStringLiteral("channels"), document.sound.channels},
            {QStringLiteral("frames"), qint64{document.sound.Length()}},
            {QStringLiteral("cursor"), qint64{document.cursor}},
            {QStringLiteral("selection"),
             QJsonArray{qint64{document.selectionStart}, qint64{document.selectionEnd}}},
            {QStringLiteral("modified"), document.isModified},
            {QStringLiteral("busy"), document.isBusy},
            {QStringLiteral("undo"), document.UndoLabel()},
            {QStringLiteral("redo"), document.RedoLabel()},
            {QStringLiteral("bookmarks"), bookmarks},
            {QStringLiteral("regions"), regions}};
}

QJsonObject FactsOf(const LPlayback& playback) {
    const LPlayState now = playback.State();
    const char* name = now == LPlayState::kPlaying  ? "playing"
                       : now == LPlayState::kPaused ? "paused"
                                                    : "stopped";
    QJsonObject facts{{QStringLiteral("state"), QLatin1String(name)}};
    if (LSoundWindow* sound = playback.Sound()) {
        facts[QStringLiteral("title")] = sound->Document().title;
        facts[QStringLiteral("position")] = qint64{playback.Position()};
    }
    return facts;
}

LProgramState EditorRun::State() const {
    LProgramState state;
    for (LSoundWindow* window : frame_->Sounds()) {
        const LSoundDocument& document = window->Document();
        state.open.append(document.path.isEmpty() ? document.title : document.path);
    }
    state.listeners = frame_->Listeners();
    if (LSoundWindow* window = frame_->ActiveSound()) state.active = FactsOf(window->Document());
    state.playback = FactsOf(frame_->Playback());
    return state;
}

// Beside the frame and not over it: nothing waits for the answer.
void EditorRun::AskAboutLastRun() {
    auto* box = new QMessageBox(QMessageBox::Question, QStringLiteral("Ondarix"),
                                QStringLiteral("Did Ondarix hang or crash when last run?"),
                                QMessageBox::NoButton, frame_.get());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::NonModal);
    const auto* crashed = box->addButton(QStringLiteral("It Crashed"), QMessageBox::ActionRole);
    auto* other = box->addButton(QStringLiteral("Something Else"), QMessageBox::ActionRole);
    box->setDefaultButton(other);
    box->setEscapeButton(other);
    QObject::connect(box, &QMessageBox::buttonClicked, box, [crashed](const QAbstractButton* chosen) {
        if (chosen == crashed && gOnCrashReported) gOnCrashReported();
    });
    box->show();
}

void EditorRun::Finish() {
    closing_ = true;
    SetProgramPhase(kPhaseWindowDestroy);
    // From here on a second process finds nobody, and waits for the end of this one to be the next instance.
    instance_->Close();
    automation_->Close();
    QCoreApplication::processEvents();
    StopBackgroundThreads();
    signals_.reset();
    DeferredDeletes().Empty();
    SetProgramPhase(kPhaseGlobalDestroy);
    instance_.reset();
    automation_.reset();
    frame_.reset();
    CleanCache(CleanMode::kProgramEnd);
    CloseCache();
    marker_.End();
}

int RunInstance(char** argv, const QStringList& arguments, LRuntimeLock& startLock) {
    int qtArgc = 1;  // the arguments are ours alone
    LApplication application(qtArgc, argv);
    if (!OpenCache()) {
        startLock.Release();
        const QString text = QStringLiteral(
            "The working folder cannot be used: it cannot be written, or another "
            "program works in it.");
        std::fprintf(stderr, "ondarix: %s\n", qPrintable(text));
        QMessageBox::critical(nullptr, QStringLiteral("Ondarix"), text);
        return kExitNoWindow;
    }
    ConvertOldSettings();
    EditorRun run(application, startLock);
    run.Start(arguments);
    const int status = application.Run();
    run.Finish();
    return status;
}

int RefuseStart(const char* why) {
    std::fprintf(stderr, "ondarix: %s\n", why);
    return kExitNoWindow;
}

}  // namespace

int RunEditor(int argc, char** argv) {
    LApplication::SetNames();
    RegisterThreadTag("MAIN");
    SetProgramPhase(kPhaseGlobalInit);
    const QStringList arguments = ArgumentsOf(argc, argv);
    if (AnswersWithoutWindow(arguments)) return 0;
    if (RuntimeFolder().isEmpty()) return RefuseStart("the run-time folder cannot be made");

    LRuntimeLock startLock(kStartLockName);
    LRuntimeLock runLock(kRunLockName);
    startLock.Take(kStartLockBudgetMs);  // without it two instances are still kept apart by the other one
    switch (FindRole(arguments, runLock)) {
        case Role::kSender:
            return 0;
        case Role::kNeither:
            return RefuseStart("the running instance does not answer and does not end");
        case Role::kInstance:
            break;
    }
    if (!HasDisplay()) return RefuseStart("no display; use ondarix-cli");
    return RunInstance(argv, arguments, startLock);
}

}  // namespace ondarix
