#include "Zorbel/Onboarding.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/Rule.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>

namespace Zorbel {

using namespace ZorbelKit;

namespace {

constexpr double glassSize = 132;

/// The first page: the glass, the name and one line. The pages that follow it are still to come.
class Onboarding : public QWidget {
public:
    Onboarding(std::function<void()> complete, QWidget* parent)
        : QWidget(parent) {
        setAccessible(*this, QAccessible::Pane, "Welcome to Zorbel");
        auto* column = makeColumn(this, 0);
        column->addStretch(3);
        column->addWidget(new SpiceIcon("zorbel", glassSize, false, this), 0, Qt::AlignHCenter);
        column->addSpacing(8);
        column->addWidget(makeText("Zorbel", interfaceFont(44, QFont::Medium), malai, this), 0,
                          Qt::AlignHCenter);
        column->addSpacing(6);
        column->addWidget(makeText("Ten small things, done well.", interfaceFont(15), malaiDim, this), 0,
                          Qt::AlignHCenter);
        column->addSpacing(10);
        column->addWidget(makeText("Ten spices. One cup.", interfaceFont(14), malaiFaint, this), 0,
                          Qt::AlignHCenter);
        column->addStretch(4);
        column->addWidget(new Rule(Qt::Horizontal, this));
        auto* start = new BrassButton("Start Zorbel", this);
        auto* footer = new QHBoxLayout;
        footer->setContentsMargins(20, 14, 20, 14);
        footer->addStretch();
        footer->addWidget(start);
        column->addLayout(footer);
        connect(start, &QAbstractButton::clicked, this, std::move(complete));
    }
};

} // namespace

AnyView onboardingView(Stall&, std::function<void()> complete) {
    return AnyView([complete = std::move(complete)](QWidget* parent) -> QWidget* {
        return new Onboarding(complete, parent);
    });
}

} // namespace Zorbel
