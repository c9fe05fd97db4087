#include "Platforms/Linux/MenuBar/StatusOrder.hpp"
