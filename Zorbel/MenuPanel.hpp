#pragma once

#include "ZorbelKit/AnyView.hpp"

#include <functional>

namespace ZorbelKit {
class Stall;
}

namespace Zorbel {

class Application;
class Updates;

/// The panel under the glass: the sections of the spices that are on, and the way to the dashboard, to an
/// update check and out. All arguments outlive the view.
ZorbelKit::AnyView menuPanelView(ZorbelKit::Stall& stall, Updates& updates, Application& application,
                                 std::function<void()> openDashboard);

} // namespace Zorbel
