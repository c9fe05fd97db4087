#pragma once

#include "ZorbelKit/AnyView.hpp"
#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Observable.hpp"
#include "ZorbelKit/Wave.hpp"

#include <string>

namespace ZorbelKit {

/// What a spice is called; constant for its life.
struct SpiceIdentity {
    std::string id;      // stable lower-case key: settings, selection, accent, image
    std::string name;    // one invented word
    std::string role;    // short category, "Clipboard"
    std::string summary; // one plain sentence: what it does
    std::string reason;  // one sentence of flavour: why the name
    Wave wave = Wave::inTheCup;
};

/// A small utility of the suite. Everything `steep()` starts, `rest()` releases: a spice that is off holds no
/// timers and no observers. Only the registry, `Stall`, calls `steep()`, `rest()` and `setEnabled()`, and the
/// first two only on a change. Main thread only.
class Spice : public Observable {
public:
    const std::string& id() const { return identity_.id; }
    const std::string& name() const { return identity_.name; }
    const std::string& role() const { return identity_.role; }
    const std::string& summary() const { return identity_.summary; }
    const std::string& reason() const { return identity_.reason; }
    Wave wave() const { return identity_.wave; }

    bool isEnabled() const { return isEnabled_.get(); }
    void setEnabled(bool on) { isEnabled_.set(on); } // records the state and nothing else

    virtual void steep() = 0;
    virtual void rest() = 0;

    virtual AnyView dashboard() = 0;   // the page in the dashboard window
    virtual AnyView menuSection() = 0; // the block in the menu panel

    Color accent() const;

protected:
    explicit Spice(SpiceIdentity identity);

private:
    const SpiceIdentity identity_;
    Published<bool> isEnabled_{*this, false};
};

/// Whether a spice is on when no state is stored for it: the four of the first wave are.
bool isOnByDefault(const Spice& spice);

} // namespace ZorbelKit
