#include "Hushel/HushelViews.hpp"
