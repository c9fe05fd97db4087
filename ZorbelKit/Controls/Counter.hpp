#pragma once

#include <QWidget>

namespace ZorbelKit {

/// Puts its content on a card. Raised cards lie a shade lighter. Takes the content over.
class Counter : public QWidget {
public:
    Counter(bool raised, QWidget* content, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool raised_;
};

} // namespace ZorbelKit
