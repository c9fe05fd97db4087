#include "Platforms/Linux/Storage/HeldData.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <deque>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Linux {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 11> marks{".bzr",       ".git",      ".gnupg",   ".hg",
                                                 ".jj",        ".ssh",      ".svn",     "drive_c",
                                                 "dosdevices", "steamapps", "SteamApps"};

constexpr int deepest = 7;                // "data/bottles/bottles/name/drive_c" lies four levels down
constexpr std::size_t mostItems = 60'000; // no more of a folder count towards its size

} // namespace

bool holdsForeignData(const Duvesk::FileWalker& walker, const fs::path& folder) {
    std::deque<std::pair<fs::path, int>> waiting{{folder, 0}}; // what is near the top comes first
    std::size_t items = 0;
    for (; !waiting.empty(); waiting.pop_front()) {
        const auto& [path, depth] = waiting.front();
        auto entries =
            walker.entries(path, Duvesk::FileWalker::Hidden::include).value_or(std::vector<fs::path>());
        items += entries.size();
        if (items > mostItems || std::ranges::any_of(entries, [](const fs::path& entry) {
                return std::ranges::find(marks, entry.filename().native()) != marks.end();
            })) {
            return true;
        }
        for (fs::path& entry : entries) {
            if (depth < deepest && walker.isFolder(entry)) {
                waiting.emplace_back(std::move(entry), depth + 1);
            }
        }
    }
    return false;
}

} // namespace Linux
