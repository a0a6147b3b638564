// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/spoken_value.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>

namespace ondarix {
namespace {

class LSpokenAccessible final : public QAccessibleWidget {
  public:
    explicit LSpokenAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Indicator) {}
    QString text(QAccessible::Text kind) const override {
        const auto* spoken = dynamic_cast<const LSpokenValue*>(widget());
        if (spoken && (kind == QAccessible::Value || kind == QAccessible::Description))
            return spoken->SpokenValue();
        return QAccessibleWidget::text(kind);
    }
};

QAccessibleInterface* SpokenAccessibleOf(const QString&, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    return widget && dynamic_cast<LSpokenValue*>(widget) ? new LSpokenAccessible(widget) : nullptr;
}

}  // namespace

void InstallSpokenValues() {
    static const bool once = [] {
        QAccessible::installFactory(&SpokenAccessibleOf);
        return true;
    }();
    (void)once;
}

}  // namespace ondarix
