#include "Hushel/HushelTexts.hpp"
