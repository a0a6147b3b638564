// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view_channels.h"

#include <QPainter>
#include <cmath>

#include "app/level_ruler.h"
#include "app/theme.h"

namespace ondarix {

QString ChannelName(int channel, int channels) {
    if (channels == 1) return QStringLiteral("Mono");
    if (channels == 2) return channel == 0 ? QStringLiteral("Left") : QStringLiteral("Right");
    return QString::number(channel + 1);
}

LChannelHead::LChannelHead(const QString& name, QWidget* parent) : QAbstractButton(parent) {
    setText(name);
    setCheckable(true);
    setFocusPolicy(Qt::TabFocus);
}

void LChannelHead::enterEvent(QEnterEvent*) { update(); }
void LChannelHead::leaveEvent(QEvent*) { update(); }

void LChannelHead::paintEvent(QPaintEvent*) {
    const LWaveColours& colours = WaveColours();
    QPainter painter(this);
    QColor back = colours.rulerBackground;
    if (isChecked())
        back = colours.selectedCore;
    else if (underMouse() && isEnabled())
        back = colours.selection;
    painter.fillRect(rect(), back);
    QFont small = font();
    small.setPointSizeF(std::max(7.0, small.pointSizeF() - 1));
    painter.setFont(small);
    painter.setPen(isChecked() ? colours.background : colours.rulerText);
    painter.translate(0, height());
    painter.rotate(-90);
    const QRect area(0, 0, height(), width());
    painter.drawText(area, Qt::AlignCenter,
                     painter.fontMetrics().elidedText(text(), Qt::ElideRight, height()));
    if (hasFocus()) {
        painter.setPen(colours.focus);
        painter.drawRect(QRectF(area).adjusted(1.5, 1.5, -1.5, -1.5));
    }
}

LChannelBar::LChannelBar(LSoundDocumentRef document, QWidget* parent)
    : QWidget(parent), document_(std::move(document)) {
    setObjectName(QStringLiteral("channelBar"));
    setAccessibleName(QStringLiteral("Channels"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
}

void LChannelBar::Show(bool merged) {
    merged_ = merged;
    const int channels = std::max<int>(1, document_->sound.channels);
    const size_t wanted = merged ? 1 : static_cast<size_t>(channels);
    while (heads_.size() > wanted) {
        delete heads_.back();
        heads_.pop_back();
    }
    while (heads_.size() < wanted) {
        const int channel = static_cast<int>(heads_.size());
        auto* head = new LChannelHead({}, this);
        head->setObjectName(QStringLiteral("channel%1").arg(channel));
        head->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(head, &QAbstractButton::clicked, this, [this, channel, head] {
            head->setChecked(document_->channelEditMode == LSoundDocument::kEditsChannel &&
                             document_->editedChannel == channel);  // the document says what it is
            Q_EMIT ChannelClicked(channel);
        });
        connect(head, &QWidget::customContextMenuRequested, this, [this, channel, head](QPoint at) {
            Q_EMIT ContextMenuRequested(head->mapToGlobal(at), merged_ ? -1 : channel);
        });
        heads_.push_back(head);
        head->show();
    }
    const bool alone = document_->channelEditMode == LSoundDocument::kEditsChannel;
    for (size_t i = 0; i < heads_.size(); ++i) {
        const QString name =
            merged && channels > 1 ? QStringLiteral("All") : ChannelName(static_cast<int>(i), channels);
        heads_[i]->setText(name);
        heads_[i]->setEnabled(channels > 1 && !merged);
        heads_[i]->setChecked(alone && static_cast<int>(i) == document_->editedChannel);
        heads_[i]->setAccessibleName(QStringLiteral("Channel %1").arg(name));
        heads_[i]->setToolTip(
            channels > 1 && !merged ? QStringLiteral("Edit the channel \"%1\" alone").arg(name) : QString());
    }
    Place();
    update();
}

void LChannelBar::Place() {
    for (size_t i = 0; i < heads_.size(); ++i) {
        const LStrip strip = StripOf(static_cast<int>(i), static_cast<int>(heads_.size()), height());
        heads_[i]->setGeometry(0, static_cast<int>(strip.top), width(), static_cast<int>(strip.height));
    }
}

void LChannelBar::resizeEvent(QResizeEvent*) { Place(); }

void LChannelBar::paintEvent(QPaintEvent*) { QPainter(this).fillRect(rect(), WaveColours().gap); }

}  // namespace ondarix
