#pragma once

#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Observable.hpp"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZorbelKit {

/// The one registry of spices: their order, which are on, and which one the dashboard shows. Its readers are
/// told when a spice is added, turned on or off, or selected. Main thread only; use from another thread stops
/// a debug build.
class Stall : public Observable {
public:
    Stall(Defaults& defaults, MainLoop& loop);
    ~Stall() override;

    /// Registers a spice, restores the selection and its on/off state, and starts it if it is on.
    void add(std::unique_ptr<Spice> spice);

    /// The one way to change a spice's state: starts or stops it, once, and stores the state. Silent without
    /// a change.
    void setEnabled(bool on, Spice& spice);
    void toggle(Spice& spice);

    /// Stops every running spice and leaves the stored states, so that the same ones come back at the next
    /// launch.
    void restAll();

    /// In order of addition, which is the order of display.
    const std::vector<std::unique_ptr<Spice>>& spices() const { return spices_; }

    /// The first spice with this id; null where there is none.
    Spice* spice(std::string_view id) const;

    int steepingCount() const;

    const std::optional<std::string>& selection() const { return selection_.get(); }

    /// Stores a value; none leaves the stored one as it was.
    void setSelection(std::optional<std::string> id);

private:
    void restoreSelection(const Spice& spice);

    Defaults& defaults_;
    MainLoop& loop_;
    std::vector<std::unique_ptr<Spice>> spices_;
    Published<std::optional<std::string>> selection_{*this};
};

} // namespace ZorbelKit
