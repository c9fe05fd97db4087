#pragma once

#include "ZorbelKit/Color.hpp"

#include <QFont>
#include <QWidget>

#include <optional>

namespace ZorbelKit {

/// A figure whose digits all take the same width, so that it stands still while it counts; a unit may follow
/// it. A change of equal length repaints the figure and moves nothing.
class Reading : public QWidget {
public:
    Reading(const QString& value, std::optional<QString> unit, double points, QFont::Weight weight,
            QWidget* parent = nullptr);

    void setValue(const QString& value);
    const QString& value() const { return value_; }
    void setColour(const Color& colour);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double valueWidth() const;

    QString value_;
    std::optional<QString> unit_;
    QFont font_;
    QFont unitFont_;
    Color colour_;
};

/// A reading under its label: a column without margins, `gap` points between the two, which takes over
/// `parent`. `points` is the figure's size.
Reading* addLabelled(QWidget* parent, const QString& label, double points, int gap);

/// Writes a figure that a screen reader tells with its label.
void writeLabelled(Reading& reading, const QString& label, const QString& value);

} // namespace ZorbelKit
