#include "Platforms/Linux/MenuBar/XEmbedTray.hpp"
