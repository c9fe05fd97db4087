#include "Tests/Views/ViewTests.hpp"
