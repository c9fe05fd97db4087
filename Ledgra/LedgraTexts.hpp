#pragma once

namespace Ledgra {} // namespace Ledgra
