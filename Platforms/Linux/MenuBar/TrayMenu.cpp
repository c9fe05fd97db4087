#include "Platforms/Linux/MenuBar/TrayMenu.hpp"
