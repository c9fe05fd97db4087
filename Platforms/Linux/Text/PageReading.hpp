#pragma once

#include "Platforms/Linux/Text/LineReader.hpp"

#include <QImage>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace Linux {

/// The lines of text on a page, in reading order; each reader works on a thread of its own. None of them
/// where `isCancelled` becomes true, soon after it does.
std::vector<std::string> linesOn(const QImage& page, const std::vector<std::unique_ptr<LineReader>>& readers,
                                 const std::atomic<bool>& isCancelled);

} // namespace Linux
