#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>

#include <optional>
#include <string>

class QPainter;
class QRectF;

namespace ZorbelKit {

/// Draws a picture in the middle of `rect`, at most as large as that. Each of its pixels is one on the screen
/// where it comes in the size that is asked for.
void paintIcon(QPainter& painter, const QIcon& icon, const QRectF& rect);

/// A program's own picture, `side` points square; a symbol in its place where it has none.
class AppIcon final : public QWidget {
public:
    AppIcon(int side, const QString& fallback, QWidget* parent);

    /// `place` is the path of a file, or a name in the icon theme; none: it has no picture.
    void load(const std::optional<std::string>& place);
    bool hasPicture() const { return !icon_.isNull(); }

    QSize sizeHint() const override { return {side_, side_}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const int side_;
    const QString fallback_;
    QIcon icon_;
};

} // namespace ZorbelKit
