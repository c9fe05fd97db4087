#pragma once

#include "Ledgra/ParkedFiles.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

#include <QPixmap>

#include <memory>

namespace Ledgra {

/// What stands for a file, `size` points square at `scale` device pixels for a point: its thumbnail, else the
/// first of its names that the icon theme knows, else a sheet or a folder of our own.
QPixmap drawIcon(const FileIcon::Look& look, int size, double scale);

/// Shows a file's icon and follows it. Takes no part in what the pointer does.
class FileIconView final : public ZorbelKit::LiveView {
public:
    FileIconView(std::shared_ptr<const FileIcon> icon, int size, QWidget* parent);

    /// As it is shown.
    const QPixmap& picture() const;

    QSize sizeHint() const override { return {size_, size_}; }

    /// How often it was drawn anew: once for each look, and again on a screen with another scale.
    int drawings() const { return drawings_; }

protected:
    void refresh() override;
    void paintEvent(QPaintEvent* event) override;

private:
    std::shared_ptr<const FileIcon> icon_;
    int size_; // points
    mutable FileIcon::Look drawnLook_;
    mutable QPixmap drawn_; // null: to be drawn
    mutable int drawings_ = 0;
};

} // namespace Ledgra
