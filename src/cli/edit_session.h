// SPDX-License-Identifier: GPL-3.0-or-later
// The document that the operations of "edit" work on, with all that a window would give it.
#pragma once
#include <QSet>
#include <utility>
#include <vector>

#include "cli/sound_files.h"
#include "formats/sound_pieces.h"
#include "sound/edits.h"

namespace ondarix {

// Nobody is asked: an operation on the command line is the answer. Jobs run at once.
class LCommandLineHost final : public LEditHost, private LMessageHost {
  public:
    LCommandLineHost(LContext& context, bool noClobber) : context_(context), noClobber_(noClobber) {}
    LMessageHost& Messages() override { return *this; }
    JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) override;
    bool AddDocument(LSoundDocumentRef document) override;

    std::vector<LSoundDocumentRef> added;  // documents that a command has made
    bool hasSpoken = false;                // a command has told or asked something

  private:
    void Tell(const QString& title, const QString& text) override;
    int Ask(const QString& title, const QString& text, const QStringList& buttons, int safe,
            const QString& dontAskText, bool* dontAskAgain) override;

    LContext& context_;
    bool noClobber_;
    bool refused_ = false;  // a file is there that may not be replaced
};

class LEditSession {
  public:
    // The document takes `loaded` over.
    LEditSession(LContext& context, LLoadedSound& loaded, const QString& input, const LOutputFile& output);

    LSoundDocument& Doc() { return *document; }
    // Remembers why a step cannot be done.
    JobResult Fault(const QString& text);
    QString TakeFault() { return std::exchange(fault_, {}); }
    // For commands that answer kCancelled where there was nothing to do: that is what was asked for then,
    // unless a message says that they were refused.
    JobResult Done(JobResult result) const;
    bool HasSelection();  // a fault where there is none
    JobResult Load(const QString& path, LSound& sound);

    // Files that are written once all steps have succeeded. A fault for a name that no file can have, and for
    // a file that this run reads or writes otherwise.
    JobResult WriteLater(LSoundDocumentRef source, const std::vector<LPiece>& pieces, const QString& folder,
                         const QString& extension);
    JobResult WriteLater(LSoundDocumentRef source, const std::vector<LPiece>& pieces, const QString& folder);
    JobResult WriteLater(const std::vector<LPiece>& pieces,
                         const QString& folder);  // of the document as it is
    bool HasFiles() const { return !files_.empty(); }
    ExitStatus WriteFiles();

    // The document's sound and bookmarks, to be saved.
    void GiveBack(LLoadedSound& loaded);

    LContext& context;
    LSoundDocumentRef document;
    LCommandLineHost host;
    LClipboardStore clipboard;
    QStringList written;  // full paths

  private:
    struct LFiles {
        LSoundDocumentRef source;
        std::vector<LPiece> pieces;
        LPieceTarget target;
    };

    QString fault_;
    const LOutputFile& output_;
    QSet<QString> taken_;  // paths of files, without case
    std::vector<LFiles> files_;
};

}  // namespace ondarix
