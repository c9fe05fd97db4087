#pragma once

#include "ZorbelKit/Controls/HoverButton.hpp"

#include <QStringList>

#include <cstddef>
#include <functional>
#include <optional>

namespace ZorbelKit {

class SuiteMenu;

/// A pop-up button: shows the one of a few choices that holds, and the list of them when it is clicked or
/// when Space, Enter or an arrow key is pressed.
class Picker : public HoverButton {
public:
    static constexpr int defaultWidth = 130; // points

    Picker(const QString& name, const QStringList& choices, QWidget* parent = nullptr);

    /// Shows a choice, by its place in the list. Tells nobody.
    void select(std::size_t index);

    /// Shows a value that is none of the choices. Tells nobody.
    void selectOther(const QString& text);

    std::optional<std::size_t> selection() const { return selection_; } // none: not one of the choices

    /// `chosen` hears of the user's own choices only.
    void onChoice(std::function<void(std::size_t index)> chosen);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void open();
    void show(std::optional<std::size_t> selection, const QString& text);

    SuiteMenu* list_;
    std::optional<std::size_t> selection_;
    std::function<void(std::size_t)> chosen_;
};

} // namespace ZorbelKit
