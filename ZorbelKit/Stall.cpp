#include "ZorbelKit/Stall.hpp"

#include "ZorbelKit/Host/Defaults.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Spice.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr std::string_view selectionKey = "stall.selection";

std::string enabledKey(const Spice& spice) {
    return "spice." + spice.id() + ".enabled";
}

} // namespace

Stall::Stall(Defaults& defaults, MainLoop& loop)
    : defaults_(defaults)
    , loop_(loop) {
}

Stall::~Stall() = default;

void Stall::add(std::unique_ptr<Spice> added) {
    assert(loop_.isMainThread());
    Spice& spice = *added;
    spices_.push_back(std::move(added));
    notify();
    restoreSelection(spice);
    setEnabled(defaults_.boolean(enabledKey(spice)).value_or(isOnByDefault(spice)), spice);
}

void Stall::restoreSelection(const Spice& spice) {
    const auto stored = defaults_.string(selectionKey);
    const bool isFirstOfFirstLaunch = !selection() && !stored;
    if (isFirstOfFirstLaunch || stored == spice.id()) {
        setSelection(spice.id());
    }
}

void Stall::setEnabled(bool on, Spice& spice) {
    assert(loop_.isMainThread());
    const bool before = spice.isEnabled();
    spice.setEnabled(on);
    if (on == before) {
        return;
    }
    if (on) {
        spice.steep();
    } else {
        spice.rest();
    }
    defaults_.setBoolean(enabledKey(spice), spice.isEnabled()); // what it did may have turned it off again
    notify();
}

void Stall::toggle(Spice& spice) {
    setEnabled(!spice.isEnabled(), spice);
}

void Stall::restAll() {
    assert(loop_.isMainThread());
    for (const auto& spice : spices_) {
        if (spice->isEnabled()) {
            spice->rest();
            spice->setEnabled(false);
        }
    }
    notify();
}

Spice* Stall::spice(std::string_view id) const {
    const auto found = std::ranges::find_if(spices_, [&](const auto& spice) { return spice->id() == id; });
    return found == spices_.end() ? nullptr : found->get();
}

int Stall::steepingCount() const {
    return static_cast<int>(
        std::ranges::count_if(spices_, [](const auto& spice) { return spice->isEnabled(); }));
}

void Stall::setSelection(std::optional<std::string> id) {
    assert(loop_.isMainThread());
    if (id) {
        defaults_.setString(selectionKey, *id);
    }
    selection_.set(std::move(id));
}

} // namespace ZorbelKit
