#pragma once

#include "ZorbelKit/Spice.hpp"

namespace ZorbelKit {

/// A spice that is announced but does nothing yet: its place in the list, its state and its settings are
/// final, and its views say that it is still to come.
class ComingSpice : public Spice {
public:
    void steep() override {}
    void rest() override {}
    AnyView dashboard() override; // these two in Controls/ComingViews.cpp
    AnyView menuSection() override;

protected:
    using Spice::Spice;
};

} // namespace ZorbelKit
