#include "Platforms/Linux/Shelf/XdndTarget.hpp"
