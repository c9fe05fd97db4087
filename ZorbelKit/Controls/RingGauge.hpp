#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/Glide.hpp"

#include <QString>
#include <QWidget>

namespace ZorbelKit {

class Reading;

/// A ring gauge of three quarters of a turn, the gap at the bottom; the percentage in it and the label under
/// it. The arc glides to a new value; a move too small to see is not drawn.
class RingGauge final : public QWidget {
public:
    /// `diameter` in points. An empty label takes no room.
    RingGauge(const QString& label, int diameter, const Color& colour, QWidget* parent);

    /// A fraction; the ring shows it between 0 and 1, the figure as it is.
    void setValue(double fraction);

    /// Of the arc, from now on.
    void setColour(const Color& colour);

    /// What a screen reader calls it, followed by the figure; at first the label.
    void setSpokenLabel(const QString& label);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double arcLength() const; // points

    QString label_;
    QString spokenLabel_;
    const int diameter_;
    Color colour_;
    Reading* figure_;
    Glide arc_;
};

} // namespace ZorbelKit
