#include "Ledgra/LedgraViews.hpp"
