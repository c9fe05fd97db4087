#include "Ledgra/LedgraTexts.hpp"
