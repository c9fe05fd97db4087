#pragma once

#include "ZorbelKit/Color.hpp"

#include <QLabel>

namespace ZorbelKit {

/// A word or two in small capitals on a capsule, both in one colour.
class Capsule : public QLabel {
public:
    Capsule(const QString& text, const Color& colour, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Color colour_;
};

} // namespace ZorbelKit
