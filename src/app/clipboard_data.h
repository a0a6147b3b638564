// SPDX-License-Identifier: GPL-3.0-or-later
// What this program lays on the clipboard of the desktop: made when it is asked for.
#pragma once
#include <QImage>
#include <QMimeData>
#include <QPointer>
#include <QWidget>
#include <functional>

#include "formats/wav_image.h"
#include "sound/clipboard.h"

namespace ondarix {

inline constexpr const char* kClipMarkFormat = "application/x-ondarix-clip";
inline constexpr const char* kClipWavFormats[] = {"audio/x-wav", "audio/wav"};

using LClipboardTell = std::function<void(const QString& title, const QString& text)>;

// Data that can be had at once as well, for the end of the program. Null: nothing came of it.
class LOfferedData : public QMimeData {
  public:
    virtual QMimeData* Rendered() const = 0;
    // Asked again, there is nothing: what it would be made of is going.
    virtual void Detach() = 0;
};

// The current clip of the store at the time of asking. While another program's request is being met, events
// are let in only once it takes longer than half a second; by then the clipboard may have become another's,
// and this object with it destroyed.
class LClipData final : public LOfferedData {
  public:
    LClipData(QWidget* owner, const LClipboardStore& store, QByteArray mark, LClipboardTell tell);
    QStringList formats() const override;
    QMimeData* Rendered() const override;
    void Detach() override { store_ = nullptr; }

  protected:
    QVariant retrieveData(const QString& format, QMetaType type) const override;

  private:
    QByteArray Image() const;

    QPointer<QWidget> owner_;
    const LClipboardStore* store_;
    QByteArray mark_;
    LClipboardTell tell_;
    mutable QByteArray kept_;  // of `keptSlot_`, unless it is large
    mutable int keptSlot_ = -1;
    mutable bool rendering_ = false;
};

class LPictureData final : public LOfferedData {
  public:
    LPictureData(QWidget* owner, std::function<QImage()> paint) : owner_(owner), paint_(std::move(paint)) {}
    QStringList formats() const override;
    QMimeData* Rendered() const override;
    void Detach() override { paint_ = nullptr; }

  protected:
    QVariant retrieveData(const QString& format, QMetaType type) const override;

  private:
    QImage Picture() const;

    QPointer<QWidget> owner_;
    mutable std::function<QImage()> paint_;  // gone once it has painted
    mutable QImage picture_;
};

}  // namespace ondarix
