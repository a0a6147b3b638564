// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QClipboard>
#include <QImage>
#include <QMimeData>
#include <QPointer>
#include <functional>

#include "sound/clipboard.h"

namespace ondarix {

// The clipboard of the desktop. Our clip is offered as "application/x-ondarix-clip", a mark of the one copy
// of this one process, and as "audio/x-wav" and "audio/wav", which are written only when a program asks for
// them. Taken are those, "audio/vnd.wave" and "audio/wave", otherwise the sound files that a file manager has
// copied, one behind the other in the format of the first. [ui]
//
// What another program offers is looked at once for each change of the clipboard, when somebody first wants
// to know: the answer comes from that program, and one that hangs must not hold up this one again and again.
class LDesktopClipboard final : public QObject, public LSystemClipboard {
    Q_OBJECT
  public:
    explicit LDesktopClipboard(QWidget* owner);
    ~LDesktopClipboard() override;
    bool OffersOwnClip() const override;
    bool OffersSound() const override;
    bool OffersText() const override;
    QString Text() const override;
    bool Announce(LClipboardStore& store) override;
    // Tells of a failure through `progress`; `out` is then as it was.
    JobResult FetchSound(LSound& out, LProgress& progress) override;
    // A picture that is painted when somebody asks for it, once, under "Copying wave window image to the
    // system clipboard".
    bool OfferImage(std::function<QImage()> paint);
    // Before the program ends, with the working files still there: renders what is still offered, so that it
    // stays for others where a clipboard manager takes it over.
    void RenderAll();
    // How another program's request that cannot be met is told; a message box beside the window otherwise.
    std::function<void(const QString& title, const QString& text)> tell;

  Q_SIGNALS:
    void Changed();  // what "Paste" would see; not before the program is the active one

  private:
    struct LOffer {
        bool own = false, sound = false, text = false;
    };
    const LOffer& Offer() const;
    LOffer Look() const;
    bool Put(QMimeData* data);
    bool IsStillOurs() const;
    void OnDataChanged();

    QWidget* owner_;
    QClipboard* clipboard_;
    QPointer<QMimeData> offered_;  // null: not ours any more
    QByteArray mark_;              // of the last copy
    quint64 copies_ = 0;
    mutable LOffer offer_;
    mutable bool stale_ = true;
    bool changedUnseen_ = false;
};

}  // namespace ondarix
