#include "Platforms/Qt/ReducedPng.hpp"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <optional>
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
        , sums_(static_cast<std::size_t>(result_.width()) * (channels - 1)) {}

    void add(const std::uint8_t* pixel) {
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

    /// Null where rows are missing, and where some of it can be seen through.
    QImage result() const { return added_ == height_ && opacity_ == opaque ? result_ : QImage(); }

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
    std::uint32_t rows_ = 0;          // in the sums
    int added_ = 0;
    int finished_ = 0;
    png_uint_32 opacity_ = opaque;
};

[[noreturn]] void fail(png_structp png, png_const_charp /*why*/) {
    png_longjmp(png, 1);
}

void ignore(png_structp /*png*/, png_const_charp /*why*/) {
}

} // namespace

class PngReducer::Reading {
public:
    explicit Reading(int step)
        : step_(step)
        , png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore))
        , info_(png_ ? png_create_info_struct(png_) : nullptr) {
        if (info_) {
            png_set_crc_action(png_, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
            png_set_option(png_, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
            png_set_progressive_read_fn(png_, this, begin, takeRow, end);
        }
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() { png_destroy_read_struct(&png_, &info_, nullptr); }

    void add(std::string_view bytes) {
        if (info_ && !hasEnded_) {
            hasEnded_ = !process(bytes);
        }
    }

    QImage result() const { return isWhole_ && reduction_ ? reduction_->result() : QImage(); }

private:
    // The library leaves these functions by a jump when something is wrong with the bytes: nothing that has
    // to be destroyed may be made in them.

    bool process(std::string_view bytes) {
        if (setjmp(png_jmpbuf(png_))) {
            return false;
        }
        auto* pointer = reinterpret_cast<png_bytep>(const_cast<char*>(bytes.data())); // it is only read
        png_process_data(png_, info_, pointer, bytes.size());
        return true;
    }

    static Reading& of(png_structp png) { return *static_cast<Reading*>(png_get_progressive_ptr(png)); }

    static void begin(png_structp png, png_infop info) {
        png_set_expand(png);
        png_set_scale_16(png);
        png_set_gray_to_rgb(png);
        png_set_bgr(png);
        png_set_add_alpha(png, opaque, PNG_FILLER_AFTER);
        png_read_update_info(png, info);
        if (png_get_interlace_type(png, info) != PNG_INTERLACE_NONE) {
            png_error(png, "");
        }
        of(png).makeRoom(static_cast<int>(png_get_image_width(png, info)),
                         static_cast<int>(png_get_image_height(png, info)));
    }

    void makeRoom(int width, int height) { reduction_.emplace(width, height, step_); }

    static void takeRow(png_structp png, png_bytep row, png_uint_32 /*number*/, int /*pass*/) {
        if (row) {
            of(png).reduction_->add(row);
        }
    }

    static void end(png_structp png, png_infop /*info*/) { of(png).isWhole_ = true; }

    int step_;
    png_structp png_;
    png_infop info_;
    std::optional<Reduction> reduction_;
    bool hasEnded_ = false; // by something wrong
    bool isWhole_ = false;
};

PngReducer::PngReducer(int step)
    : reading_(std::make_unique<Reading>(step)) {
}

PngReducer::PngReducer(PngReducer&&) noexcept = default;
PngReducer& PngReducer::operator=(PngReducer&&) noexcept = default;
PngReducer::~PngReducer() = default;

void PngReducer::add(std::string_view bytes) {
    reading_->add(bytes);
}

QImage PngReducer::result() const {
    return reading_->result();
}

} // namespace QtPlatform
