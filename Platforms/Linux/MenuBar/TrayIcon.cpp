#include "Platforms/Linux/MenuBar/TrayIcon.hpp"
