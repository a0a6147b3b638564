// SPDX-License-Identifier: GPL-3.0-or-later
// Cancels every dialog and popup that comes up while it lives.
#pragma once
#include <QApplication>
#include <QDialog>
#include <QTimer>

namespace ondarix {

class LDialogCloser {
  public:
    LDialogCloser() {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
            if (QWidget* popup = QApplication::activePopupWidget()) popup->close();
            QWidget* modal = QApplication::activeModalWidget();
            if (!modal) return;
            ++closed_;
            if (auto* dialog = qobject_cast<QDialog*>(modal))
                dialog->reject();
            else
                modal->close();
        });
        timer_.start(2);
    }
    int Closed() const { return closed_; }

  private:
    QTimer timer_;
    int closed_ = 0;
};

}  // namespace ondarix
