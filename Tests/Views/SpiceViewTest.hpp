#pragma once

#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace Views {

inline constexpr int pageWidth = 635;    // in the dashboard as it opens
inline constexpr int narrowWidth = 515;  // in its least
inline constexpr int sectionWidth = 300; // the panel's 328 points less 14 on each side

/// A spice's page as the dashboard shows it, or its section as the panel under the glass does.
class SpiceViewTest : public ::testing::Test {
protected:
    SpiceViewTest();

    /// The views go before what they show, and the pointer to where nothing of the next test is.
    void TearDown() override;

    /// Puts a page made on the ground on view, as high as it wants to be.
    template <class Page>
    Page& openPage(Page* page, int width = pageWidth) {
        open(page, width);
        return *page;
    }
    void fitPage(int width = pageWidth);

    /// The same of a page that fills the dashboard, whatever its size.
    template <class Page>
    Page& openPage(Page* page, QSize size) {
        size_ = size;
        return openPage(page, size.width());
    }

    /// Stands out of the page on all sides, for a picture.
    void savePage(const QString& name, int width = pageWidth);

    /// The same of a section, which reaches as far into the panel's margins as it asks to.
    template <class Section>
    Section& openSection(Section* section) {
        openInPanel(section);
        return *section;
    }
    void fitSection();

    void pointAt(QWidget& widget, QPoint at = {}); // its middle, unless told otherwise
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    QString focused() const; // the spoken name of what has the keyboard

private:
    void setGround(const ZorbelKit::Color& colour);
    void open(QWidget* page, int width);
    void openInPanel(ZorbelKit::LiveView* section);
    void bringUp();

    std::unique_ptr<QWidget> stage_ = std::make_unique<QWidget>();
    QWidget* page_ = nullptr;
    std::optional<QSize> size_; // of a page that takes what it is given
    ZorbelKit::LiveView* section_ = nullptr;

protected:
    QWidget& ground = *stage_;
};

} // namespace Views
