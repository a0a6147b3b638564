// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/start_screen.h"

#include <QEvent>
#include <QFileInfo>
#include <QLabel>
#include <QPainter>

#include "app/commands.h"
#include "app/start_trace.h"
#include "app/theme.h"

namespace ondarix {
namespace {

constexpr int kIconSide = 72, kButtonWidth = 260, kRecentWidth = 460, kRecentShown = 6;

QLabel* CentredText(const QString& text, double size, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * size);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

}  // namespace

LStartScreen::LStartScreen(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("startScreen"));
    setAccessibleName(QStringLiteral("Start"));
    auto* column = new QVBoxLayout(this);
    column->setSpacing(8);
    column->addStretch(2);
    auto* icon = new QLabel(this);
    icon->setPixmap(ProgramIcon().pixmap(kIconSide, kIconSide));
    icon->setAlignment(Qt::AlignCenter);
    column->addWidget(icon);
    column->addWidget(CentredText(QStringLiteral("Drop sound files here"), 1.5, this));
    column->addWidget(CentredText(QStringLiteral("or choose them"), 1, this));
    for (const int id : {kCmdOpen, kCmdNewFile}) {
        const LCommandRow& row = *FindCommand(id);
        auto* button = new QPushButton(ThemedIcon(QString::fromUtf8(row.icon)), PlainText(row), this);
        button->setObjectName(QStringLiteral("start%1").arg(id));
        button->setAccessibleName(PlainText(row));
        button->setFixedWidth(kButtonWidth);
        button->setAutoDefault(true);  // Enter presses it as well
        connect(button, &QPushButton::clicked, this, [this, id] { Q_EMIT CommandChosen(id); });
        column->addWidget(button, 0, Qt::AlignHCenter);
    }
    recentBox_ = new QWidget(this);
    recent_ = new QVBoxLayout(recentBox_);
    recent_->setSpacing(2);
    column->addWidget(recentBox_, 0, Qt::AlignHCenter);
    column->addStretch(3);
    recentBox_->hide();
}

void LStartScreen::ShowRecentFiles(const QStringList& files) {
    if (files == shown_) return;
    shown_ = files;
    while (QLayoutItem* item = recent_->takeAt(0)) {
        item->widget()->deleteLater();  // this may be the answer to a click on one of them
        delete item;
    }
    recentBox_->setVisible(!files.isEmpty());
    if (files.isEmpty()) return;
    recent_->addWidget(CentredText(QStringLiteral("Recent files"), 1, recentBox_));
    for (int i = 0; i < std::min<int>(kRecentShown, static_cast<int>(files.size())); ++i) {
        const QFileInfo file(files[i]);
        QString text = fontMetrics().elidedText(QStringLiteral("%1   %2").arg(file.fileName(), file.path()),
                                                Qt::ElideMiddle, kRecentWidth);
        auto* button = new QPushButton(text.replace(QLatin1Char('&'), QStringLiteral("&&")), recentBox_);
        button->setFlat(true);
        button->setAutoDefault(true);
        button->setObjectName(QStringLiteral("startRecent%1").arg(i));
        button->setAccessibleName(QStringLiteral("Open %1").arg(file.fileName()));
        button->setAccessibleDescription(files[i]);
        button->setToolTip(files[i]);
        connect(button, &QPushButton::clicked, this,
                [this, i] { Q_EMIT CommandChosen(kCmdFirstRecent + i); });
        recent_->addWidget(button);
    }
}

void LStartScreen::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), WaveColours().area);
    TraceStart("window");
}

void LStartScreen::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) update();
    QWidget::changeEvent(event);
}

}  // namespace ondarix
