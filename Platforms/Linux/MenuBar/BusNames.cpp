#include "Platforms/Linux/MenuBar/BusNames.hpp"
