#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Linux {

/// Rows from the top, one byte a pixel.
struct GreyPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> grey{}; // 0 is black

    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
};

struct LineReading {
    std::string text{};   // UTF-8, without a line feed
    float confidence = 0; // per cent
};

/// What the library zorbel-text has to offer: reads one line of text, dark on white, with Tesseract. One
/// thread at a time; several readers do not know of one another. No exception leaves it.
class LineReader {
public:
    virtual ~LineReader() = default;

    /// Empty where there are no words, or where `isCancelled` became true meanwhile.
    virtual LineReading read(const GreyPicture& line, const std::atomic<bool>& isCancelled) noexcept = 0;

    /// Forgets the last line and what only it needed.
    virtual void clear() noexcept = 0;
};

/// Where that library is found and what it offers: null when the engine does not start with these data.
/// `languages` are names of data files joined by "+", `dataFolder` is where they are.
inline constexpr const char* lineReaderLibrary = "libzorbel-text.so";
inline constexpr const char* lineReaderFactory = "zorbelLineReader";
using LineReaderFactory = LineReader* (*)(const char* dataFolder, const char* languages);

} // namespace Linux
