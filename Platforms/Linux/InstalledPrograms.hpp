#pragma once

#include "Platforms/Linux/DesktopEntries.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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

    /// The program of a window, by the two halves of its class. A window of another class than that of the
    /// last question has it look whether programs have been installed or removed since.
    std::optional<DesktopEntries::Entry> ofWindow(const std::string& className, const std::string& instance);

    std::optional<DesktopEntries::Entry> withId(std::string_view id) const;

private:
    void find();
    void look();

    ZorbelKit::MainLoop& loop_;
    const std::vector<std::filesystem::path> folders_;
    const std::string locale_;
    std::shared_ptr<const DesktopEntries> entries_;            // null until they are read
    std::optional<std::pair<std::string, std::string>> asked_; // the class of the last question
    std::optional<DesktopEntries::Entry> answer_;              // to it
    bool isLooking_ = false;
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Linux
