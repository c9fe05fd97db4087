#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"
