#pragma once

#include <functional>

namespace ZorbelKit {

/// What the suite lays over the windows of others for a moment: the panel under the glass, its menus. Main
/// thread only.
class Panels {
public:
    virtual ~Panels() = default;

    /// Closes them and calls `gone` once the screen shows what was below; at once where nothing was open.
    virtual void putAway(std::function<void()> gone) = 0;
};

} // namespace ZorbelKit
