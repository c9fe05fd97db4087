#pragma once

#include <QWidget>

class QLabel;

namespace ZorbelKit {

class Reading;

/// A small card with a figure between its title and a caption, each on one line. Cards that stand in a row
/// with equal stretch are equally wide; a figure too wide for its card is cut off at its edge.
class Stat : public QWidget {
public:
    Stat(const QString& title, const QString& caption, QWidget* parent);

    void setValue(const QString& value);
    void setCaption(const QString& caption);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString title_;
    Reading* value_;
    QLabel* caption_;
};

} // namespace ZorbelKit
