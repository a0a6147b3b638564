// SPDX-License-Identifier: GPL-3.0-or-later
// The least that a Qt program with a window can do: what bench_start compares with.
#include <QApplication>
#include <QMainWindow>
#include <cstdio>

namespace {

class BareWindow final : public QMainWindow {
  protected:
    void paintEvent(QPaintEvent* event) override {
        QMainWindow::paintEvent(event);
        std::fputs("window\n", stderr);
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    BareWindow window;
    window.resize(1200, 800);
    window.show();
    return QApplication::exec();
}
