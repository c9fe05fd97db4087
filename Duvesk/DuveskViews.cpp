#include "Duvesk/DuveskViews.hpp"

namespace Duvesk {

using namespace ZorbelKit;

AnyView DuveskSpice::dashboard() {
    return AnyView::of<DuveskPanel>(*this);
}

AnyView DuveskSpice::menuSection() {
    return AnyView::of<DuveskMenuSection>(*this);
}

DuveskPanel::DuveskPanel(DuveskSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice) {
    refresh();
}

void DuveskPanel::refresh() {
}

DuveskMenuSection::DuveskMenuSection(DuveskSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice) {
    refresh();
}

void DuveskMenuSection::refresh() {
}

} // namespace Duvesk
