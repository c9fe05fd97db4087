#pragma once

#include "ZorbelKit/Host/FloatingPanels.hpp"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <utility>
#include <vector>

namespace QtPlatform {

/// Floating panels as widgets of the toolkit. What a toolkit cannot say to its platform is said by `prepare`.
/// Needs a QApplication, and outlives its panels.
class QtFloatingPanels : public ZorbelKit::FloatingPanels {
public:
    /// `prepare` is handed each panel with its native window, before that is shown for the first time.
    explicit QtFloatingPanels(std::function<void(QWidget& panel)> prepare)
        : prepare_(std::move(prepare)) {}
    QtFloatingPanels(const QtFloatingPanels&) = delete;
    QtFloatingPanels& operator=(const QtFloatingPanels&) = delete;
    ~QtFloatingPanels() override;

    std::unique_ptr<ZorbelKit::FloatingPanel> make(const ZorbelKit::FloatingPanelStyle& style,
                                                   const ZorbelKit::AnyView& content) override;

private:
    std::function<void(QWidget& panel)> prepare_;
    std::vector<QPointer<QWidget>> widgets_; // some of them closed, and waiting for the main loop
};

} // namespace QtPlatform
