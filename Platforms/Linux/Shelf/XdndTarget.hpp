#pragma once

namespace Linux {} // namespace Linux
