#pragma once

#include <QImage>

#include <memory>
#include <string_view>

namespace QtPlatform {

/// Makes a large PNG smaller while its bytes come and its rows are unpacked, so that room for all of them is
/// never taken: each pixel is the mean of `step` times `step`, of fewer at the right and the lower edge.
/// Check sums are not looked at: the file has just been written, and they take a third of the time. Any
/// thread, one at a time.
class PngReducer {
public:
    explicit PngReducer(int step);
    PngReducer(PngReducer&&) noexcept;
    PngReducer& operator=(PngReducer&&) noexcept;
    ~PngReducer();

    void add(std::string_view bytes); // the next ones

    /// Null where it is not whole, and where it is of a kind that screens are not: interlaced or see-through.
    QImage result() const;

private:
    class Reading;
    std::unique_ptr<Reading> reading_; // the library keeps its address
};

} // namespace QtPlatform
