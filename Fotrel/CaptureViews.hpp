#pragma once

#include "Fotrel/Fotrel.hpp"
