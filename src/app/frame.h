// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QActionGroup>
#include <QDockWidget>
#include <QHash>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>
#include <vector>

#include "app/commands.h"
#include "app/document_job.h"
#include "app/frame_actions.h"
#include "app/frame_area.h"
#include "app/frame_documents.h"
#include "app/sound_window.h"
#include "app/system_clipboard.h"
#include "app/tool_tabs.h"
#include "formats/format_record.h"
#include "gen/messages.h"

namespace ondarix {

class LClipIndicator;
class LDesktopTheme;
class LMpris;
class LPlayerBar;
class LSleepInhibitor;
class LPlayback;

// The one main window. Owns the open sounds, each in a window of its own inside. [ui]
class LMainFrame final : public QMainWindow,
                         public LFrameActions,
                         public LEditHost,
                         public LFrameDocuments,
                         private LDocumentJobOwner {
    Q_OBJECT
  public:
    LMainFrame();
    ~LMainFrame() override;

    // What a first painted window does not need.
    void AfterStartup();
    // Every command goes through here, by its number. False: not available now, or ended by a helper.
    bool RunCommand(int id) override;
    bool WaitForJob() override;
    // Whether the command's needs are met.
    bool IsAvailable(int id) override;
    // Offered every command first; true ends its way.
    void AddCommandHelper(std::function<bool(int id)> helper) { helpers_.push_back(std::move(helper)); }

    LSoundWindow* ActiveSound() override;
    QList<LSoundWindow*> Sounds() override;
    void OpenFiles(const QStringList& paths);
    bool SaveAs(LSoundWindow& window, const QString& path, const LFormatRecord& record);
    // Replaces the message boxes.
    void SetMessageHost(std::unique_ptr<LMessageHost> host) { messages_ = std::move(host); }
    const QStringList& Listeners() const { return listeners_; }

    // What the commands do with the frame.
    QAction* ActionOf(int id) const { return actions_.value(id); }  // null: unknown or hidden
    void ShowHint(const QString& text);
    // Where the context menu of a waveform was asked for, until the next command has run.
    const std::optional<LViewPlace>& ContextPlace() const { return contextPlace_; }
    QString NextTitle();  // of a sound without a file
    bool Save(LSoundWindow& window);
    bool AskAndSaveAs(LSoundWindow& window);
    void SaveAll();
    void CloseAll();
    void OpenRecent(int index);
    LSoundArea& Area() { return *area_; }
    LPlayback& Playback() { return *playback_; }
    LDesktopClipboard& DesktopClipboard() { return *desktopClipboard_; }
    bool ShowsTools() const;
    void ShowTools(bool on);
    bool ShowsSidePanel() const;
    void ShowSidePanel(bool on);
    bool ShowsPlayer() const;
    void ShowPlayer(bool on);
    // Shows what the settings say now: keys, theme, looks of the views.
    void SettingsChanged();
    // The options dialog, at a page by its title; empty: the first.
    void ShowOptions(const QString& page = {});
    // The one window of its kind beside the sounds, made by `make` when it is not there.
    void ShowBeside(const char* name, const std::function<QDialog*()>& make);

    // LFrameActions.
    bool CanAcceptWork() const override;
    void BringForward() override;
    void SaveActive() override;
    void SaveActiveAs(const QString& path) override;
    void HideToBackground() override { hide(); }
    bool CanClose() override;
    void PostClose(bool asked) override;
    bool Play(int64_t startFrame, int64_t endFrame) override;
    bool Record() override { return false; }  // without an engine for it
    bool StopAll() override;
    bool RestartPlayback() override;
    void Minimize() override { showMinimized(); }
    void Maximize() override { showMaximized(); }
    void Restore() override { showNormal(); }
    void ResizeClient(std::optional<int> width, std::optional<int> height) override;
    bool StartBatch(const LBatchRequest&) override { return false; }
    void Tell(const QString& title, const QString& text) override { messages_->Tell(title, text); }
    bool OpenSound(const QString& path) override;
    bool OpenProject(const QString& path) override;
    bool MayOpenMore() const override;
    // No link has a meaning yet beyond the wish to see the program.
    void OpenLink(const QString&) override { BringForward(); }
    void AddListener(const QString& name) override;

    // LEditHost.
    LMessageHost& Messages() override { return *messages_; }
    JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) override;
    // Later, unless nothing can be begun any more; the strip in the document's window shows it.
    void RunDocumentJob(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                        LDocumentFinish finish) override;
    void DocumentChanged(LSoundDocument& document) override;
    void Refresh(LSoundDocument& document) override;
    bool AddDocument(LSoundDocumentRef document) override;
    void PlaySelection(LSoundDocument& document) override;

    // LFrameDocuments.
    void Activate(LSoundWindow& window) override;
    LEditHost& EditHost() override { return *this; }
    LDocumentNotifier& Notifier() override { return notifier_; }
    QWidget* Window() override { return this; }

  protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    // Construction.
    void BuildActions();
    void BuildMenus();
    void BuildTools();
    void BuildStatusBar();
    void BuildPlayer();
    void StartPlayerServices();  // on the buses of the desktop
    void RestorePlace();
    void StorePlace() const;
    QMenu* ContextMenu();
    void ShowContextMenu(LSoundWindow& window, QPoint global, const LViewPlace& place);

    // State.
    bool MeetsNeed(LNeed need, int id);
    void AfterCommand();
    void RefreshActions();
    void RefreshAction(const LCommandRow& row);
    void RefreshChecks();
    void ShowSelected();
    void ShowStatus();
    void ShowRecentFiles();
    void ShowOpenWindows();
    void ShowDisk();
    void SoundsChanged();
    void ExplainRefusal(const LCommandRow& row);

    // Playing.
    void ConnectPlayback();
    void ConnectPlayback(LSoundWindow& window);
    void ShowPlayback();
    void ShowPlayChecks();
    void ShowHeard();
    QString PlayText(int id) const;                      // "": as in the table
    QString PlayTip(int id, const QString& keys) const;  // "": as the others

    // Files.
    LSoundWindow* AddSound(LSoundDocumentRef document);
    void ConnectSound(LSoundWindow& window);
    bool LoadInto(LSoundDocument& document, const QString& path, int openDocuments);
    bool IsOpen(const QString& path);
    // Files that other programs change or remove while they are open.
    void CheckFilesOnDisk();
    void AskAboutChangedFile(LSoundWindow& window);
    bool LoadAgain(LSoundDocument& document);
    bool MayOverwrite(const LSoundDocument& document, const QString& path);
    bool MayClose(LSoundWindow& window);
    // False where a job works on it and goes on.
    bool MayEndJob(const LSoundDocument& document);
    bool IsHeldByJob(const LCommandRow& row);
    bool RefuseWhileBusy(const LSoundDocument& document);  // true: it is, and that is told

    // LDocumentJobOwner.
    LSoundWindow* WindowOfDocument(const LSoundDocument& document) override { return WindowOf(document); }
    bool IsHeldUp() override;
    void TellError(const QString& text) override;
    void BusyChanged(LSoundDocument& document) override;

    bool MayLoseRegions(const LSoundDocument& document);
    LFormatRecord RecordFor(LSoundWindow& window) const;

    LSoundWindow* WindowOf(const LSoundDocument& document);

    LDocumentNotifier notifier_;
    LSoundArea* area_ = nullptr;
    LToolTabs* tools_ = nullptr;
    QToolBar* toolBar_ = nullptr;
    QDockWidget* sidePanel_ = nullptr;
    QToolBar* playerTools_ = nullptr;
    LPlayerBar* playerBar_ = nullptr;
    QHash<int, QAction*> actions_;
    QActionGroup* themes_ = nullptr;
    QMenu* moreRecent_ = nullptr;
    QMenu* viewMenu_ = nullptr;
    QMenu* contextMenu_ = nullptr;
    QList<QAction*> windowActions_;  // at the end of the view menu, while it is shown
    QLabel *position_ = nullptr, *selection_ = nullptr, *format_ = nullptr, *length_ = nullptr,
           *disk_ = nullptr;
    QTimer diskTimer_;
    std::unique_ptr<LMessageHost> messages_;
    std::unique_ptr<LDesktopTheme> desktopTheme_;
    std::unique_ptr<LPlayback> playback_;
    std::unique_ptr<LDocumentJobs> jobs_;
    std::unique_ptr<LMpris> mpris_;
    std::unique_ptr<LSleepInhibitor> inhibitor_;
    std::unique_ptr<LDesktopClipboard> desktopClipboard_;
    std::vector<std::function<bool(int)>> helpers_;
    QHash<QString, QPointer<QDialog>> beside_;
    std::optional<LViewPlace> contextPlace_;
    QStringList listeners_;
    int untitled_ = 0;      // number of the last new sound
    bool closing_ = false;  // nothing is asked any more
    bool checkingDisk_ = false;
};

}  // namespace ondarix
