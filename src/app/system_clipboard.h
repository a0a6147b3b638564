// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QClipboard>
#include <QImage>
#include <functional>

#include "sound/clipboard.h"

namespace ondarix {

// The clipboard of the desktop. Our clip is offered as "application/x-ondarix-clip" (an empty marker) and
// "audio/x-wav", which is written only when a program asks for it. [ui]
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
    JobResult FetchSound(LSound& out, LProgress& progress) override;
    // A picture that is painted when somebody asks for it, under "Copying wave window image to the system
    // clipboard".
    bool OfferImage(std::function<QImage()> paint);
    // Before the program ends: renders what is still offered, so that it stays for others where a clipboard
    // manager takes it over.
    void RenderAll();

  Q_SIGNALS:
    void Changed();  // what "Paste" would see

  private:
    QWidget* owner_;
};

}  // namespace ondarix
