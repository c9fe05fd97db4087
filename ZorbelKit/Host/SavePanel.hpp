#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace ZorbelKit {

/// Asks the user for a place for a PNG file. Main thread only.
class SavePanel {
public:
    virtual ~SavePanel() = default;

    /// Opens the panel over the suite's windows with this name suggested (UTF-8). `chosen` is called on the
    /// main thread once the user has confirmed, and never when they have not. An existing file has been asked
    /// about.
    virtual void open(const std::string& suggestedName,
                      std::function<void(std::filesystem::path file)> chosen) = 0;
};

} // namespace ZorbelKit
