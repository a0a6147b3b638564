// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QAbstractButton>
#include <vector>

#include "sound/document.h"

namespace ondarix {

// "Left", "Right", otherwise "1" on; "Mono" of a sound with one.
QString ChannelName(int channel, int channels);

// The head of one strip: its name, written upwards. Down while only this channel is edited. [ui]
class LChannelHead final : public QAbstractButton {
    Q_OBJECT
  public:
    LChannelHead(const QString& name, QWidget* parent);
    QSize sizeHint() const override { return {20, 40}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
};

// The heads of all strips, left of the level ruler. [ui]
class LChannelBar final : public QWidget {
    Q_OBJECT
  public:
    explicit LChannelBar(LSoundDocumentRef document, QWidget* parent);
    // `merged`: all channels share one strip.
    void Show(bool merged);
    QSize sizeHint() const override { return {20, 100}; }

  Q_SIGNALS:
    void ChannelClicked(int channel);  // from 0
    void ContextMenuRequested(QPoint global, int channel);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void Place();

    LSoundDocumentRef document_;
    std::vector<LChannelHead*> heads_;
    bool merged_ = false;
};

}  // namespace ondarix
