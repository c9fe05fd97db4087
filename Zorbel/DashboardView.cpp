#include "Zorbel/DashboardView.hpp"

#include "Zorbel/SpiceDetail.hpp"
#include "Zorbel/SpiceList.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Rule.hpp"

#include <QHBoxLayout>

namespace Zorbel {

using namespace ZorbelKit;

namespace {

class DashboardView : public QWidget {
public:
    DashboardView(Stall& stall, MainLoop& loop, QWidget* parent)
        : QWidget(parent) {
        setAccessible(*this, QAccessible::Pane, "Dashboard");
        auto* split = new QHBoxLayout(this);
        split->setContentsMargins(0, 0, 0, 0);
        split->setSpacing(0);
        split->addWidget(new SpiceList(stall, loop, this));
        split->addWidget(new Rule(Qt::Vertical, this));
        split->addWidget(new SpiceDetail(stall, this), 1);
    }
};

} // namespace

AnyView dashboardView(Stall& stall, MainLoop& loop) {
    return AnyView([&](QWidget* parent) -> QWidget* { return new DashboardView(stall, loop, parent); });
}

} // namespace Zorbel
