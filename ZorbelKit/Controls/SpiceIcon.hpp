#pragma once

#include "ZorbelKit/Controls/Glide.hpp"

#include <QWidget>

#include <string>

namespace ZorbelKit {

/// A spice's own image in its accent, at `size` points; dimmed, at half opacity. An id without an image shows
/// the glass.
class SpiceIcon : public QWidget {
public:
    SpiceIcon(std::string id, double size, bool dimmed = false, QWidget* parent = nullptr);

    void setDimmed(bool dimmed);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::string id_;
    double size_;
    Glide opacity_;
};

} // namespace ZorbelKit
