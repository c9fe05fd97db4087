#pragma once

namespace Hushel {} // namespace Hushel
