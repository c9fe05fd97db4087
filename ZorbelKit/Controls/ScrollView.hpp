#pragma once

#include <QScrollArea>

namespace ZorbelKit {

class ScrollPill;

/// A vertical scroll view without a frame. A slim pill lies over the content's right edge where there is more
/// to see.
class ScrollView : public QScrollArea {
public:
    explicit ScrollView(QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    ScrollPill* pill_;
};

} // namespace ZorbelKit
