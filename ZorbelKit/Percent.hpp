#pragma once

#include <string>

namespace ZorbelKit {

/// A fraction as a whole percentage, truncated toward zero: 0.999 reads "99%". One that is not finite or does
/// not fit stops the process.
std::string percentText(double fraction);

} // namespace ZorbelKit
