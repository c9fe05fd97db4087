#pragma once

#include "Duvesk/Finding.hpp"
#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

class QLabel;

namespace ZorbelKit {
class Reading;
} // namespace ZorbelKit

namespace Duvesk {

class DuveskSpice;

/// A tile that lets the list show one kind of findings, or everything, and says what they come to.
class Tab final : public ZorbelKit::Tile {
public:
    static constexpr int tabHeight = 52; // points

    Tab(const QString& title, const ZorbelKit::Color& accent, QWidget* parent);

    /// Equal values repaint nothing.
    void write(bool isActive, std::int64_t total);

    bool isActive() const { return isActive_; }
    QSize sizeHint() const override { return {112, tabHeight}; }
    QSize minimumSizeHint() const override { return {1, tabHeight}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void setActive(bool active);

    const QString title_;
    const ZorbelKit::Color accent_;
    QLabel* label_;
    ZorbelKit::Reading* total_;
    bool isActive_ = false;
};

/// Everything and each kind, side by side. The arrow keys, Home and End choose the tab beside and those at
/// the ends; only the active one is reached with Tab.
class TabRow final : public QWidget {
public:
    TabRow(DuveskSpice& spice, QWidget* parent);

    void refresh();

    /// Hears of the user's own choices, after the spice.
    void onChoice(std::function<void()> chosen) { chosen_ = std::move(chosen); }

    /// Down was pressed.
    void onDown(std::function<void()> left) { down_ = std::move(left); }

    void takeKeyboard(); // on the active tab

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void choose(std::optional<Kind> kind);

    struct Choice {
        std::optional<Kind> kind;
        Tab* tab;
    };

    DuveskSpice& spice_;
    std::vector<Choice> choices_;
    std::function<void()> chosen_;
    std::function<void()> down_;
};

} // namespace Duvesk
