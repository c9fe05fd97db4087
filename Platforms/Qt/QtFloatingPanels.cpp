#include "Platforms/Qt/QtFloatingPanels.hpp"

namespace QtPlatform {

namespace {

class QtFloatingPanel : public ZorbelKit::FloatingPanel {
public:
    void setOrigin(ZorbelKit::Point) override {}
    void orderFrontRegardless() override {}
    void orderOut() override {}
};

} // namespace

std::unique_ptr<ZorbelKit::FloatingPanel> QtFloatingPanels::make(const ZorbelKit::FloatingPanelStyle&,
                                                                 const ZorbelKit::AnyView&) {
    return std::make_unique<QtFloatingPanel>();
}

} // namespace QtPlatform
