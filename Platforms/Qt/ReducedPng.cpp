#include "Platforms/Qt/ReducedPng.hpp"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace QtPlatform {

namespace {

constexpr int channels = 4; // blue, green, red and opacity, as the rows are unpacked
constexpr png_uint_32 opaque = 0xFF;

/// Adds rows up until there are enough of them for one of the result.
class Reduction {
public:
    Reduction(int width, int height, int step)
        : width_(static_cast<std::size_t>(width))
        , height_(height)
        , step_(static_cast<std::size_t>(step))
        , result_((width + step - 1) / step, (height + step - 1) / step, QImage::Format_RGB32)
        , sums_(static_cast<std::size_t>(result_.width()) * (channels - 1))
        , row_(width_ * channels) {}

    int height() const { return height_; }
    png_bytep row() { return row_.data(); } // to be filled, and added then

    void add() {
        const std::uint8_t* pixel = row_.data();
        std::uint32_t* sum = sums_.data();
        for (std::size_t begin = 0; begin < width_; begin += step_, sum += channels - 1) {
            const std::size_t count = std::min(step_, width_ - begin);
            std::uint32_t blue = 0;
            std::uint32_t green = 0;
            std::uint32_t red = 0;
            for (std::size_t index = 0; index < count; ++index, pixel += channels) {
                blue += pixel[0];
                green += pixel[1];
                red += pixel[2];
                opacity_ &= pixel[3];
            }
            sum[0] += blue;
            sum[1] += green;
            sum[2] += red;
        }
        ++rows_;
        if (++added_ % static_cast<int>(step_) == 0 || added_ == height_) {
            finishRow();
        }
    }

    /// Null where some of it can be seen through.
    QImage result() const { return opacity_ == opaque ? result_ : QImage(); }

private:
    void finishRow() {
        auto* line = reinterpret_cast<QRgb*>(result_.scanLine(finished_++));
        for (int column = 0; column < result_.width(); ++column) {
            const std::size_t begin = static_cast<std::size_t>(column) * step_;
            const auto count = static_cast<std::uint32_t>(std::min(step_, width_ - begin)) * rows_;
            std::uint32_t* sum = &sums_[static_cast<std::size_t>(column) * (channels - 1)];
            const auto mean = [&](int channel) {
                return static_cast<int>((sum[channel] + count / 2) / count);
            };
            line[column] = qRgb(mean(2), mean(1), mean(0));
        }
        std::fill(sums_.begin(), sums_.end(), 0U);
        rows_ = 0;
    }

    const std::size_t width_;
    const int height_;
    const std::size_t step_;
    QImage result_;
    std::vector<std::uint32_t> sums_; // of the rows since the last one of the result
    std::vector<std::uint8_t> row_;
    std::uint32_t rows_ = 0; // in the sums
    int added_ = 0;
    int finished_ = 0;
    png_uint_32 opacity_ = opaque;
};

/// The library's objects, and what is still to be read.
struct Reading {
    explicit Reading(std::string_view bytes)
        : rest(bytes) {}
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() { png_destroy_read_struct(&png, &info, nullptr); }

    std::string_view rest;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

void give(png_structp png, png_bytep bytes, std::size_t size) {
    auto& reading = *static_cast<Reading*>(png_get_io_ptr(png));
    if (size > reading.rest.size()) {
        png_error(png, "");
    }
    std::memcpy(bytes, reading.rest.data(), size);
    reading.rest.remove_prefix(size);
}

[[noreturn]] void fail(png_structp png, png_const_charp /*why*/) {
    png_longjmp(png, 1);
}

void ignore(png_structp /*png*/, png_const_charp /*why*/) {
}

// The library leaves the two functions below by a jump when something is wrong with the bytes: nothing that
// has to be destroyed may be made in them.

bool begin(Reading& reading) {
    if (setjmp(png_jmpbuf(reading.png))) {
        return false;
    }
    png_set_crc_action(reading.png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_set_option(reading.png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
    png_set_read_fn(reading.png, &reading, give);
    png_read_info(reading.png, reading.info);
    png_set_expand(reading.png);
    png_set_scale_16(reading.png);
    png_set_gray_to_rgb(reading.png);
    png_set_bgr(reading.png);
    png_set_add_alpha(reading.png, opaque, PNG_FILLER_AFTER);
    png_read_update_info(reading.png, reading.info);
    return png_get_interlace_type(reading.png, reading.info) == PNG_INTERLACE_NONE;
}

bool readRows(Reading& reading, Reduction& reduction) {
    if (setjmp(png_jmpbuf(reading.png))) {
        return false;
    }
    const int height = reduction.height();
    for (int row = 0; row < height; ++row) {
        png_read_row(reading.png, reduction.row(), nullptr);
        reduction.add();
    }
    png_read_end(reading.png, nullptr);
    return true;
}

} // namespace

std::optional<QImage> reducedPng(std::string_view bytes, int step) {
    Reading reading(bytes);
    reading.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
    reading.info = reading.png ? png_create_info_struct(reading.png) : nullptr;
    if (!reading.info || !begin(reading)) {
        return std::nullopt;
    }
    Reduction reduction(static_cast<int>(png_get_image_width(reading.png, reading.info)),
                        static_cast<int>(png_get_image_height(reading.png, reading.info)), step);
    const bool isWhole = readRows(reading, reduction);
    const QImage result = isWhole ? reduction.result() : QImage();
    return result.isNull() ? std::nullopt : std::optional(result);
}

} // namespace QtPlatform
