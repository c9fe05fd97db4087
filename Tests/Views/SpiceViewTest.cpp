#include "Tests/Views/SpiceViewTest.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QTest>

namespace Views {

namespace {

constexpr int pageMargin = 24;    // round a page in a picture
constexpr int sectionMargin = 14; // round a section in the panel

int heightOf(const QWidget& widget, int width) {
    return widget.hasHeightForWidth() ? widget.heightForWidth(width) : widget.sizeHint().height();
}

} // namespace

SpiceViewTest::SpiceViewTest() {
    setGround(ZorbelKit::stall);
}

void SpiceViewTest::TearDown() {
    if (ground.isVisible()) {
        pointAt(ground, {1, ground.height() - 2});
    }
    stage_.reset();
}

void SpiceViewTest::setGround(const ZorbelKit::Color& colour) {
    QPalette colours = ground.palette();
    colours.setColor(QPalette::Window, ZorbelKit::qColor(colour));
    ground.setPalette(colours);
}

void SpiceViewTest::open(QWidget* page, int width) {
    page_ = page;
    bringUp();
    fitPage(width);
}

void SpiceViewTest::fitPage(int width) {
    for (int round = 0; round < 2; ++round) { // texts break otherwise in another width
        settle();
        page_->setGeometry(QRect(QPoint(), size_.value_or(QSize(width, heightOf(*page_, width)))));
        ground.resize(page_->size());
    }
    settle();
}

void SpiceViewTest::savePage(const QString& name, int width) {
    fitPage(width);
    page_->move(pageMargin, pageMargin);
    ground.resize(page_->size() + QSize(2 * pageMargin, 2 * pageMargin));
    settle();
    savePicture(ground, name);
    fitPage(width);
}

void SpiceViewTest::openInPanel(ZorbelKit::LiveView* section) {
    setGround(ZorbelKit::kettle);
    section_ = section;
    fitSection();
    bringUp();
    fitSection();
}

void SpiceViewTest::fitSection() {
    settle();
    const int bleed = section_->bleed();
    section_->setGeometry(sectionMargin - bleed, sectionMargin, sectionWidth + 2 * bleed,
                          section_->sizeHint().height());
    ground.resize(sectionWidth + 2 * sectionMargin, section_->height() + 2 * sectionMargin);
    settle();
}

void SpiceViewTest::bringUp() {
    Views::show(ground, ground.size());
    ground.activateWindow();
    settle();
}

void SpiceViewTest::pointAt(QWidget& widget, QPoint at) {
    QTest::mouseMove(&widget, at.isNull() ? widget.rect().center() : at);
    settle();
}

void SpiceViewTest::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(ground.focusWidget(), key, modifiers);
    settle();
}

QString SpiceViewTest::focused() const {
    return ground.focusWidget() ? ground.focusWidget()->accessibleName() : QString();
}

} // namespace Views
