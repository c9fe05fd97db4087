#include "ZorbelKit/Controls/Layouts.hpp"

#include <QVBoxLayout>

namespace ZorbelKit {

QVBoxLayout* makeColumn(QWidget* parent, int spacing) {
    auto* column = new QVBoxLayout(parent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

} // namespace ZorbelKit
