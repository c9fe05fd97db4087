#include "Platforms/Linux/MenuBar/TrayItemState.hpp"
