#include "Platforms/Linux/Clipboard/SelectionContent.hpp"
