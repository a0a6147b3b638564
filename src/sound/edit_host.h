// SPDX-License-Identifier: GPL-3.0-or-later
// What a command on a document needs of the program around it: a window, the command line or a test.
#pragma once
#include <QString>
#include <functional>

#include "gen/messages.h"
#include "gen/progress.h"
#include "sound/document.h"

namespace ondarix {

using LDocumentWork = std::function<JobResult(LProgress&)>;
using LDocumentFinish = std::function<void(JobResult)>;

class LEditHost {
  public:
    virtual ~LEditHost() = default;

    virtual LMessageHost& Messages() = 0;
    // Runs `work` to its end, with its progress shown under `title` where there is a window.
    virtual JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) = 0;
    // A job that takes its time: `work` on a copy of what it needs, of any thread; then `finish` here, with
    // its result and what it told by ReportError shown. Where there is a window, that is later: the window
    // works on meanwhile, and `document`, held until then, is busy: commands that change it are refused.
    // `work` and `finish` are destroyed on the thread of the caller. Otherwise both are done before this
    // returns. On a document that is busy already: `finish` with kCancelled, at once.
    virtual void RunDocumentJob(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                                LDocumentFinish finish);
    // Playback and recording of the document end; false refuses the edit, after a message of its own.
    virtual bool StopForEdit(LSoundDocument&) { return true; }
    virtual void BeforeEdit(LSoundDocument&) {}
    // Title, modified mark and the texts of "Undo" and "Redo" may be others (messages 33100 and 33101, by
    // document.isModified).
    virtual void DocumentChanged(LSoundDocument&) {}
    // The sound, its marks, the selection or the view are others.
    virtual void Refresh(LSoundDocument&) {}
    // A new document of the program; false when no more can be opened.
    virtual bool AddDocument(LSoundDocumentRef document) = 0;
    // After a change, where the setting AutoPlaybackAfterEffects asks for it.
    virtual void PlaySelection(LSoundDocument&) {}
};

}  // namespace ondarix
