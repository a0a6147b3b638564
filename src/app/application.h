// SPDX-License-Identifier: GPL-3.0-or-later
// The application object: looks at every event before its receiver does, and destroys what waits on the
// deferred-delete list after it.
#pragma once
#include <QApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <optional>

namespace ondarix {

class LApplication : public QApplication {
  public:
    // The names under which the platform keeps the program's folders. May be called before there is an
    // object.
    static void SetNames();
    LApplication(int& argc, char** argv);

    // The program ends when this window has been closed, and not when another one is the last to go: the
    // window may be hidden while the program lives on.
    void SetMainWindow(QWidget* window) { mainWindow_ = window; }
    // The event loop; returns at once when the main window was closed before.
    int Run();

    // Offered every event that comes from a loop, before anything else looks at it; true ends its way.
    std::function<bool(QObject* receiver, QEvent* event)> messageFilter;
    // Offered key presses and releases before the shortcuts of the frame; true ends their way.
    std::function<bool(const QKeyEvent& event)> keyHook;
    // Control, Shift, Alt and R.
    std::function<void()> openDiagnostics;

    bool notify(QObject* receiver, QEvent* event) override;

  private:
    bool Deliver(QObject* receiver, QEvent* event);
    bool TakesKey(QKeyEvent& event);
    bool OfferKey(const QKeyEvent& event);

    // A press is seen twice, first as a question whether it overrides a shortcut. The answer that the filters
    // gave to that one holds for the press too.
    struct Offered {
        int key;
        Qt::KeyboardModifiers modifiers;
        quint64 timestamp;
        bool taken;
    };
    std::optional<Offered> offered_;
    QPointer<QWidget> mainWindow_;
    bool ended_ = false;
};

}  // namespace ondarix
