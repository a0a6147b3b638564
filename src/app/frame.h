// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QActionGroup>
#include <QHash>
#include <QLabel>
#include <QMainWindow>
#include <QMdiArea>
#include <QMenu>
#include <QTimer>
#include <memory>
#include <optional>

#include "app/frame_actions.h"
#include "app/frame_documents.h"
#include "app/sound_window.h"
#include "formats/format_record.h"
#include "gen/messages.h"

namespace ondarix {

class LDesktopTheme;

// The one main window. Owns the open sounds, each in a window of its own inside. [ui]
class LMainFrame final : public QMainWindow, public LFrameActions, public LEditHost, public LFrameDocuments {
    Q_OBJECT
  public:
    LMainFrame();
    ~LMainFrame() override;

    // What a first painted window does not need.
    void AfterStartup();
    // Every command goes through here, by its number. False: not available now.
    bool RunCommand(int id) override;
    // Whether the command's needs are met.
    bool IsAvailable(int id);

    LSoundWindow* ActiveSound() override;
    QList<LSoundWindow*> Sounds() override;
    void OpenFiles(const QStringList& paths);
    bool SaveAs(LSoundWindow& window, const QString& path, const LFormatRecord& record);
    // Replaces the message boxes.
    void SetMessageHost(std::unique_ptr<LMessageHost> host) { messages_ = std::move(host); }
    const QStringList& Listeners() const { return listeners_; }

    // LFrameActions.
    bool CanAcceptWork() const override;
    void BringForward() override;
    void SaveActive() override;
    void SaveActiveAs(const QString& path) override;
    void HideToBackground() override { hide(); }
    bool CanClose() override;
    void PostClose(bool asked) override;
    // Without an engine for playback and recording.
    bool Play(int64_t, int64_t) override { return false; }
    bool Record() override { return false; }
    bool StopAll() override { return false; }
    bool RestartPlayback() override { return false; }
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
    void DocumentChanged(LSoundDocument& document) override;
    void Refresh(LSoundDocument& document) override;
    bool AddDocument(LSoundDocumentRef document) override;

    // LFrameDocuments.
    void Activate(LSoundWindow& window) override;
    LEditHost& EditHost() override { return *this; }
    LDocumentNotifier& Notifier() override { return notifier_; }
    QWidget* Window() override { return this; }

  protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    // Construction.
    void BuildActions();
    void BuildMenus();
    void BuildToolbar();
    void BuildStatusBar();
    void PaintArea();
    void RestorePlace();
    void StorePlace() const;

    // State.
    void RefreshActions();
    void ShowStatus();
    void ShowRecentFiles();
    void ShowOpenWindows();
    void ShowDisk();

    // File commands.
    void OpenCommand();
    void SaveAllCommand();
    void CloseAllCommand();
    void OpenRecent(int index);
    LSoundWindow* AddSound(LSoundDocumentRef document);
    bool LoadInto(LSoundDocument& document, const QString& path, int openDocuments);
    // Files that other programs change or remove while they are open.
    void CheckFilesOnDisk();
    void AskAboutChangedFile(LSoundWindow& window);
    bool MayOverwrite(const LSoundDocument& document, const QString& path);
    bool Save(LSoundWindow& window);
    bool AskAndSaveAs(LSoundWindow& window);
    bool MayClose(LSoundWindow& window);
    LFormatRecord RecordFor(LSoundWindow& window) const;

    // Edit commands.
    void ShowEdited(LSoundWindow& window, int64_t start, int64_t end);
    void CutCommand();
    void CopyCommand();
    void PasteCommand();
    void PasteToNewCommand();
    void DeleteCommand();
    void TrimCommand();
    void SilenceCommand();
    bool ClipAs(LSoundFormat format, LSound& converted);

    // View commands.
    void ToggleDb();
    void ChooseTheme(int id);
    void AboutCommand();

    LSoundWindow* WindowOf(const LSoundDocument& document);

    LDocumentNotifier notifier_;
    QMdiArea* area_ = nullptr;
    QHash<int, QAction*> actions_;
    QActionGroup* themes_ = nullptr;
    QMenu* moreRecent_ = nullptr;
    QMenu* viewMenu_ = nullptr;
    QList<QAction*> windowActions_;  // at the end of the view menu, while it is shown
    QLabel *position_ = nullptr, *selection_ = nullptr, *format_ = nullptr, *length_ = nullptr,
           *disk_ = nullptr;
    QTimer diskTimer_;
    std::unique_ptr<LMessageHost> messages_;
    std::unique_ptr<LDesktopTheme> desktopTheme_;
    std::unique_ptr<LSound> clip_;  // null: nothing copied yet
    QStringList listeners_;
    int untitled_ = 0;      // number of the last new sound
    bool closing_ = false;  // nothing is asked any more
    bool checkingDisk_ = false;
};

}  // namespace ondarix
