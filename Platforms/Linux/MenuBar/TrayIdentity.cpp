#include "Platforms/Linux/MenuBar/TrayIdentity.hpp"
