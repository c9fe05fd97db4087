#pragma once

#include "Platforms/Linux/DesktopEntries.hpp"
#include "Platforms/Linux/Windows/ApplicationIdentity.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// What is known of the programs whose windows come to the front. Desktop files are read off the main thread:
/// nobody waits for them, and for a moment at first no program is known. Nothing is read before the first
/// question. Main thread only.
class InstalledPrograms {
public:
    /// Folders and locale as for DesktopEntries.
    InstalledPrograms(ZorbelKit::MainLoop& loop, std::vector<std::filesystem::path> folders,
                      std::string locale);

    /// The program of a window. Other clues than those of the last question have it look whether programs
    /// have been installed or removed since.
    std::optional<ApplicationIdentity> ofWindow(const WindowClues& clues);

    std::optional<DesktopEntries::Entry> withId(std::string_view id) const;

    /// As they were read last; null until they are.
    const std::shared_ptr<const DesktopEntries>& entries() const { return entries_; }

    /// Looks whether programs have been installed or removed, or reads them for the first time.
    void look();

    /// Waits until they have been read once, but no longer than that.
    void waitForFirst(std::chrono::milliseconds most);

private:
    struct FirstReading {
        std::promise<std::shared_ptr<const DesktopEntries>> promise{};
        std::future<std::shared_ptr<const DesktopEntries>> result = promise.get_future();
    };

    void find();

    ZorbelKit::MainLoop& loop_;
    const std::vector<std::filesystem::path> folders_;
    const std::string locale_;
    std::shared_ptr<const DesktopEntries> entries_; // null until they are read
    std::shared_ptr<FirstReading> first_;           // null before it, and once it is over
    std::optional<WindowClues> asked_;              // the last time
    std::optional<ApplicationIdentity> answer_;     // to it
    bool isLooking_ = false;
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Linux
