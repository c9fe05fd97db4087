#pragma once

#include "Sivrel/BarGeometry.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Forward.hpp"

class QLabel;

namespace ZorbelKit {
class BrassButton;
class Picker;
class QuietButton;
class Stat;
class Switch;
} // namespace ZorbelKit

namespace Sivrel {

class SivrelSpice;

/// The block in the menu panel: the state, and a button that turns it round.
class SivrelMenuSection final : public ZorbelKit::LiveView {
public:
    SivrelMenuSection(SivrelSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const SivrelSpice& spice_;
    QLabel* status_;
    ZorbelKit::QuietButton* toggle_;
};

/// A picture of the menu bar: the divider slides open and shut, and the icons left of it come and go.
class BarDiagram final : public QWidget {
public:
    explicit BarDiagram(QWidget* parent);

    void setCollapsed(bool isCollapsed);
    double progress() const { return slide_.value(); } // 0 revealed … 1 collapsed
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void paintMenus(QPainter& painter, double right) const;
    void paintDivider(QPainter& painter, const BarGeometry& bar) const;

    ZorbelKit::Glide slide_;
    bool isSeen_ = false; // painted since it was shown
};

/// What the user should know about the bar the icons are in, and the choice between two where there is one.
class BarNote final : public QWidget {
public:
    BarNote(ZorbelKit::StatusBar& statusBar, QWidget* parent);

    void refresh();

private:
    ZorbelKit::StatusBar& statusBar_;
    QLabel* note_;
    QWidget* rule_;
    QWidget* choice_;
    ZorbelKit::Switch* usesOwnBar_;
};

/// The dashboard page.
class SivrelPanel final : public ZorbelKit::LiveView {
public:
    SivrelPanel(SivrelSpice& spice, ZorbelKit::StatusBar& statusBar, QWidget* parent);

protected:
    void refresh() override;

private:
    QWidget* makeSettings();
    QWidget* makeArranging();

    SivrelSpice& spice_;
    const ZorbelKit::StatusBar& statusBar_;
    BarDiagram* diagram_;
    BarNote* barNote_;
    ZorbelKit::Stat* opened_;
    ZorbelKit::Stat* lastOpened_;
    ZorbelKit::Stat* hidesAfter_;
    ZorbelKit::BrassButton* toggle_;
    ZorbelKit::Switch* revealOnHover_;
    ZorbelKit::Picker* hideAgain_;
    QLabel* arrangingHint_;
};

} // namespace Sivrel
