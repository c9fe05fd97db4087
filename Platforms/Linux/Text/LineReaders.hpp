#pragma once

#include "Platforms/Linux/Text/LineReader.hpp"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Linux {

/// Where Tesseract's data are: what TESSDATA_PREFIX names, else where distributions put them.
std::filesystem::path textDataFolder();

/// The names of the data files to read with, joined by "+": that of the locale's language where it is
/// installed in the folder, then that of English. Empty where neither is.
std::string textLanguages(const std::string& locale, const std::filesystem::path& dataFolder);

/// The readers of lines that work side by side, one for each thread. They are made with the first use of them
/// and take some 10 MB and 100 ms each. One thread at a time.
class LineReaders {
public:
    explicit LineReaders(std::string locale)
        : locale_(std::move(locale)) {}

    /// Makes them unless they are there. False where that cannot be done; the reason is said once.
    bool start();

    /// Gives back what they hold, but for the library itself.
    void stop();

    bool areStarted() const { return !readers_.empty(); }
    const std::vector<std::unique_ptr<LineReader>>& all() const { return readers_; }

private:
    void complain(const std::string& reason);

    const std::string locale_;
    std::vector<std::unique_ptr<LineReader>> readers_;
    std::string complaint_; // the last one
};

} // namespace Linux
