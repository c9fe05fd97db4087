#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"

namespace ZorbelKit {

/// A small square button with a symbol and no text; what it does is its spoken name and its tool tip.
class SymbolButton : public HoverButton {
public:
    static constexpr int side = 24; // points

    SymbolButton(const QString& name, const QString& symbol, double symbolSize, QWidget* parent = nullptr);

    /// Equal values repaint nothing.
    void setName(const QString& name);
    void setSymbol(const QString& symbol);
    void setColour(const Color& colour); // at rest

    /// The keys that do the same, shown behind the name in the tool tip.
    void setKeys(const QString& keys);

    const QString& symbol() const { return symbol_; }
    QSize sizeHint() const override { return {side, side}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void writeToolTip();

    QString symbol_;
    double symbolSize_;
    Color colour_;
    QString keys_;
};

} // namespace ZorbelKit
