#include "Fotrel/CaptureViews.hpp"
