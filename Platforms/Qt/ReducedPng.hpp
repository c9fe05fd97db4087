#pragma once

#include <QImage>

#include <optional>
#include <string_view>

namespace QtPlatform {

/// A large PNG made smaller while its rows are unpacked, so that room for all of them is never taken: each
/// pixel is the mean of `step` times `step`, of fewer at the right and the lower edge. Check sums are not
/// looked at: the file has just been written, and they take a third of the time. None where it is not whole,
/// and where it is of a kind that screens are not: interlaced or see-through. Any thread.
std::optional<QImage> reducedPng(std::string_view png, int step);

} // namespace QtPlatform
