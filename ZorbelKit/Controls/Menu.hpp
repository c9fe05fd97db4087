#pragma once

#include <QMenu>
#include <QRect>

#include <functional>
#include <memory>

class QStyle;

namespace ZorbelKit {

/// A menu in the suite's look. Texts may end in a tab and what stands at the right end of the row.
class SuiteMenu : public QMenu {
public:
    static constexpr int checkableTextInset = 30; // points from a row's left edge to its text, past the mark

    explicit SuiteMenu(QWidget* parent = nullptr); // as the desktop does at this moment

    /// `canBlend` says whether the desktop mixes a window's soft edges with what lies below it: without, the
    /// menu has square corners.
    SuiteMenu(bool canBlend, QWidget* parent);
    ~SuiteMenu() override;

    QSize sizeHint() const override;

    /// A press on `anchor` (on the screen), which the menu hangs from, closes the menu and does nothing else.
    /// A press anywhere else outside also reaches what lies there.
    void setAnchor(const QRect& anchor) { anchor_ = anchor; }
    const QRect& anchor() const { return anchor_; }

    /// Makes changes to the entries of a menu that may be open: it is measured once, and stays on the screen.
    void change(const std::function<void()>& edits);

protected:
    bool canBlend() const { return canBlend_; }
    void mousePressEvent(QMouseEvent* event) override;

private:
    const bool canBlend_;
    std::shared_ptr<QStyle> look_; // one for all menus of a kind
    QRect anchor_;
    bool isChanging_ = false;
};

} // namespace ZorbelKit
