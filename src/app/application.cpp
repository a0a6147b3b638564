// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/application.h"

#include <QThread>

#include "app/commands.h"
#include "app/deferred_delete.h"
#include "app/progress_dialog.h"
#include "effects/mix.h"

namespace ondarix {

void LApplication::SetNames() {
    setOrganizationName(QStringLiteral("Vellmark Works"));
    setApplicationName(QStringLiteral("Ondarix"));
    setApplicationVersion(QStringLiteral(ONDARIX_VERSION));
}

LApplication::LApplication(int& argc, char** argv) : QApplication(argc, argv) {
    SetNames();
    setDesktopFileName(QStringLiteral("works.vellmark.Ondarix"));
    setQuitOnLastWindowClosed(false);
    RegisterSubsystem(LSubsystem::kPlayback);
    RegisterSubsystem(LSubsystem::kEffects);
    RegisterSubsystem(LSubsystem::kEnvelopes);
    RegisterSubsystem(LSubsystem::kCrossfades);
    RegisterSubsystem(LSubsystem::kMixing);
    RegisterSubsystem(LSubsystem::kEffectChains);
    RegisterMixing();
}

int LApplication::Run() { return ended_ ? 0 : exec(); }

bool LApplication::Deliver(QObject* receiver, QEvent* event) {
    const bool closing = event->type() == QEvent::Close && receiver == mainWindow_;
    const bool result = QApplication::notify(receiver, event);
    if (closing && event->isAccepted()) {
        ended_ = true;
        LProgressDialog::CancelAll();
        exit(0);
    }
    return result;
}

bool LApplication::notify(QObject* receiver, QEvent* event) {
    if (QThread::currentThread() != thread()) return QApplication::notify(receiver, event);
    const LDeferredDeleteList::EventScope scope(DeferredDeletes());
    if (scope.IsOutermost()) {
        if (messageFilter && messageFilter(receiver, event)) return true;
        const auto type = event->type();
        if (type == QEvent::ShortcutOverride || type == QEvent::KeyPress || type == QEvent::KeyRelease) {
            auto& key = *static_cast<QKeyEvent*>(event);
            if (TakesKey(key)) {
                key.accept();
                return true;
            }
        }
    }
    return Deliver(receiver, event);
}

bool LApplication::TakesKey(QKeyEvent& event) {
    const Offered now{event.key(), event.modifiers(), event.timestamp(), false};
    if (event.type() == QEvent::KeyPress && offered_ && offered_->key == now.key &&
        offered_->modifiers == now.modifiers && offered_->timestamp == now.timestamp) {
        const bool taken = offered_->taken;
        offered_.reset();
        return taken;
    }
    offered_.reset();
    const bool taken = OfferKey(event);
    if (event.type() == QEvent::ShortcutOverride) {
        offered_ = now;
        offered_->taken = taken;
    }
    return taken;
}

bool LApplication::OfferKey(const QKeyEvent& event) {
    const bool press = event.type() != QEvent::KeyRelease;
    constexpr auto kAllThree = Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier;
    if (press && openDiagnostics && event.key() == Qt::Key_R &&
        (event.modifiers() & kAllThree) == kAllThree) {
        openDiagnostics();
        return true;
    }
    return keyHook && keyHook(event);
}

}  // namespace ondarix
