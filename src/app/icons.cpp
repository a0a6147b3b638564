// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

#include "app/theme.h"

// Resources of a static library are there only once somebody asks for them; the macro wants to stand outside
// of a namespace.
static void LoadIconResources() { Q_INIT_RESOURCE(icons); }

namespace ondarix {
namespace {

// The drawings are black lines; what they cover takes the theme's text colour.
class LThemedIconEngine final : public QIconEngine {
  public:
    explicit LThemedIconEngine(QByteArray svg) : svg_(std::move(svg)) {}
    QIconEngine* clone() const override { return new LThemedIconEngine(svg_); }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const qreal ratio = painter->device()->devicePixelRatioF();
        QPixmap drawn = pixmap(rect.size() * ratio, mode, state);
        painter->drawPixmap(rect, drawn);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        QPixmap drawn(size);
        drawn.fill(Qt::transparent);
        QPainter painter(&drawn);
        QSvgRenderer(svg_).render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        painter.fillRect(drawn.rect(), QApplication::palette().color(group, QPalette::ButtonText));
        return drawn;
    }

  private:
    QByteArray svg_;
};

}  // namespace

QIcon ThemedIcon(const QString& name) {
    LoadIconResources();
    QFile file(QStringLiteral(":/icons/") + name + QStringLiteral(".svg"));
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly)) return {};
    return QIcon(new LThemedIconEngine(file.readAll()));
}

QIcon ProgramIcon() {
    LoadIconResources();
    return QIcon(QStringLiteral(":/icons/ondarix.svg"));
}

}  // namespace ondarix
