#pragma once

#include <QWidget>

namespace ZorbelKit {

/// A line one point wide between two areas.
class Rule : public QWidget {
public:
    explicit Rule(Qt::Orientation orientation, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace ZorbelKit
