#pragma once

#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Observable.hpp"
#include "ZorbelKit/Pour.hpp"

namespace Zorbel {

/// Whether the pointer rests on a row, and has rested there long enough to be told more.
class RowHover : public ZorbelKit::Observable {
public:
    explicit RowHover(ZorbelKit::MainLoop& loop)
        : loop_(loop) {}

    void enter() {
        hovering_.set(true);
        wait_ = loop_.after(ZorbelKit::Pour::steep, [this] { showReason_.set(true); });
    }

    void leave() {
        wait_.reset();
        hovering_.set(false);
        showReason_.set(false);
    }

    bool hovering() const { return hovering_.get(); }
    bool showReason() const { return showReason_.get(); }

private:
    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Published<bool> hovering_{*this, false};
    ZorbelKit::Published<bool> showReason_{*this, false};
    ZorbelKit::Token wait_;
};

} // namespace Zorbel
