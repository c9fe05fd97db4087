#include "ZorbelKit/ComingSpice.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"

#include <QVBoxLayout>

namespace ZorbelKit {

AnyView ComingSpice::dashboard() {
    return AnyView([name = qString(name())](QWidget* parent) -> QWidget* {
        auto* lines = new QWidget;
        auto* column = new QVBoxLayout(lines);
        column->setContentsMargins(20, 18, 20, 18);
        column->setSpacing(4);
        column->addWidget(makeText(name + " is still to come.", TextStyle::callout, malaiDim));
        column->addWidget(makeText("There is nothing to see here yet, and turning it on does nothing yet.",
                                   TextStyle::caption, malaiFaint));
        return new Counter(false, lines, parent);
    });
}

AnyView ComingSpice::menuSection() {
    return AnyView([](QWidget* parent) -> QWidget* {
        return makeText("Still to come.", TextStyle::callout, malaiFaint, parent);
    });
}

} // namespace ZorbelKit
