#include "Ledgra/ShelfViews.hpp"
