// SPDX-License-Identifier: GPL-3.0-or-later
// Answers every dialog that comes up while it lives: cancels it, or fills it in and agrees to it.
#pragma once
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <functional>

namespace ondarix {

class LDialogCloser {
  public:
    // `fill` readies a dialog for agreement; without one all are cancelled. Dialogs for files always are.
    explicit LDialogCloser(std::function<void(QDialog&)> fill = nullptr) : fill_(std::move(fill)) {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { Answer(); });
        timer_.start(2);
    }
    int Closed() const { return closed_; }

  private:
    void Answer() {
        if (QWidget* popup = QApplication::activePopupWidget()) popup->close();
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        // A job's own window goes by itself.
        if (!dialog || dialog->objectName() == QStringLiteral("LProgressWindow")) return;
        ++closed_;
        const bool again = dialog == last_;  // what was filled in is not taken
        last_ = dialog;
        auto* box = dialog->findChild<QDialogButtonBox*>();
        QPushButton* ok = box ? box->button(QDialogButtonBox::Ok) : nullptr;
        if (!fill_ || again || !ok || qobject_cast<QFileDialog*>(dialog)) return dialog->reject();
        fill_(*dialog);
        // Queued: a timer does not fire again inside of its own handler.
        QMetaObject::invokeMethod(ok, "click", Qt::QueuedConnection);
    }

    std::function<void(QDialog&)> fill_;
    QTimer timer_;
    QPointer<QDialog> last_;
    int closed_ = 0;
};

}  // namespace ondarix
