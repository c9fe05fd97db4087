#pragma once

#include "Fotrel/Fotrel.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace ZorbelKit {
class MenuStat;
} // namespace ZorbelKit

namespace Fotrel {

class CaptureRow;
class TextBox;

/// A symbol over a title; a press takes a picture.
class CaptureButton final : public ZorbelKit::Tile {
public:
    enum class Size { page, menu };

    struct Face {
        QString title;
        QString symbol;
        ZorbelKit::Color accent;
    };

    CaptureButton(const Face& face, std::function<void()> action, Size size, QWidget* parent);

    const Face& face() const { return face_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Face face_;
    const Size size_;
};

/// The three ways to take a picture, side by side. The arrow keys, Home and End move the keyboard between
/// them.
class CaptureButtons final : public QWidget {
public:
    CaptureButtons(FotrelSpice& spice, CaptureButton::Size size, QWidget* parent);

    CaptureButton& first() { return *buttons_.front(); }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::array<CaptureButton*, 3> buttons_;
};

/// The dashboard page: three ways to take a picture, and the pictures taken, newest first.
class FotrelPanel final : public ZorbelKit::LiveView {
public:
    FotrelPanel(FotrelSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    void refreshError();
    void refreshRows();
    bool isListed(const CaptureRow* row) const;
    void passKeyboard(const std::vector<CaptureRow*>& before);
    void order(std::size_t added);

    FotrelSpice& spice_;
    CaptureButtons* buttons_;
    TextBox* error_;
    QWidget* nothing_;
    QWidget* list_;
    std::vector<CaptureRow*> rows_; // one a capture, in their order
};

/// The block in the menu panel: the three ways to take a picture, and how many are held.
class FotrelMenuSection final : public ZorbelKit::LiveView {
public:
    FotrelMenuSection(FotrelSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    FotrelSpice& spice_;
    ZorbelKit::MenuStat* count_;
};

} // namespace Fotrel
