#include "Mordan/MordanViews.hpp"

#include "Mordan/Mordan.hpp"

namespace Mordan {

using namespace ZorbelKit;

AnyView MordanSpice::dashboard() {
    return AnyView::of<MordanPanel>(*this);
}

AnyView MordanSpice::menuSection() {
    return AnyView::of<MordanMenuSection>(*this);
}

MordanMenuSection::MordanMenuSection(MordanSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice) {
    refresh();
}

void MordanMenuSection::refresh() {
}

MordanPanel::MordanPanel(MordanSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice) {
    refresh();
}

void MordanPanel::refresh() {
}

} // namespace Mordan
