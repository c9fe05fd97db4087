#include "Platforms/Linux/MenuBar/TrayItemAddress.hpp"
