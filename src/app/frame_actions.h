// SPDX-License-Identifier: GPL-3.0-or-later
// What the command line, the hand-over from a second process and the automation socket may ask of the frame.
// Everything here is for the interface thread. [ui]
#pragma once
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>

namespace ondarix {

// A batch as the command line asks for it.
struct LBatchRequest {
    QStringList files;
    QString inputFolder, outputFolder, outputFormat;
    QString batchFile;  // a stored batch, full path
    bool runAtOnce = false;
    bool quitWhenDone = false;
};

class LFrameActions {
  public:
    virtual ~LFrameActions() = default;

    // Enabled and without a modal dialog.
    virtual bool CanAcceptWork() const = 0;
    virtual void BringForward() = 0;
    virtual void SaveActive() = 0;  // under its name, the format prompt left out once
    virtual void SaveActiveAs(const QString& path) = 0;
    virtual void HideToBackground() = 0;  // the process lives on
    virtual bool CanClose() = 0;          // asks about unsaved sounds
    // Message 1126: `asked` after CanClose(); otherwise the forced form.
    virtual void PostClose(bool asked) = 0;
    // Playback and recording answer false while their engine is not there. -1, -1: no explicit range.
    virtual bool Play(int64_t startFrame, int64_t endFrame) = 0;
    virtual bool Record() = 0;
    virtual bool StopAll() = 0;
    virtual bool RestartPlayback() = 0;
    virtual void Minimize() = 0;
    virtual void Maximize() = 0;
    virtual void Restore() = 0;
    virtual void ResizeClient(std::optional<int> width, std::optional<int> height) = 0;
    virtual bool StartBatch(const LBatchRequest& request) = 0;
    virtual void Tell(const QString& title, const QString& text) = 0;
    // A sound, by its path; obeys the limit of open files and remembers it as recent. False: refused or
    // failed.
    virtual bool OpenSound(const QString& path) = 0;
    virtual bool OpenProject(const QString& path) = 0;
    virtual bool MayOpenMore() const = 0;            // below the limit
    virtual void OpenLink(const QString& link) = 0;  // "vmk.ondarix:..."
    // A command by its number; false: it cannot run now. Without a frame's commands nothing can.
    virtual bool RunCommand(int) { return false; }
    virtual bool IsAvailable(int) { return false; }
    // Waits, with a window that goes on working, until the job of the active sound has ended. False: it was
    // cancelled or failed, or the program ends.
    virtual bool WaitForJob() { return true; }
    // Listeners of the automation interface; a name already there is not added again.
    virtual void AddListener(const QString& name) = 0;
};

}  // namespace ondarix
