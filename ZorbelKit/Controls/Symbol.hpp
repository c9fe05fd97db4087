#pragma once

#include "ZorbelKit/Color.hpp"

#include <QString>
#include <QWidget>

class QPainter;
class QPointF;

namespace ZorbelKit {

/// Draws one of the program's symbols (Resources/Symbols, by its name there), `size` points square, round
/// `centre`. A name without a drawing leaves the place empty.
void paintSymbol(QPainter& painter, const QString& name, const QPointF& centre, double size,
                 const Color& colour);

/// One of the program's symbols in one colour.
class Symbol : public QWidget {
public:
    Symbol(const QString& name, double size, const Color& colour, QWidget* parent = nullptr);

    /// Equal values repaint nothing.
    void setSymbol(const QString& name);
    void setColour(const Color& colour);

    const QString& symbol() const { return name_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString name_;
    double size_;
    Color colour_;
};

} // namespace ZorbelKit
