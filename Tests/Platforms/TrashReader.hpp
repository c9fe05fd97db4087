#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// Looks at a Trash as a file manager does, without any of the code that fills it.
namespace TrashReader {

namespace fs = std::filesystem;

struct Entry {
    fs::path info;
    fs::path item;
    std::string place; // decoded
    std::string date;
};

inline std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '%') {
            result += static_cast<char>(std::stoi(std::string(text.substr(index + 1, 2)), nullptr, 16));
            index += 2;
        } else {
            result += text[index];
        }
    }
    return result;
}

/// What follows `key` on its line.
inline std::string value(std::string_view text, std::string_view key) {
    const std::size_t start = text.find("\n" + std::string(key) + "=");
    if (start == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = text.substr(start + key.size() + 2);
    return std::string(rest.substr(0, rest.find('\n')));
}

inline std::vector<std::string> names(const fs::path& folder) {
    std::vector<std::string> result;
    std::error_code missing;
    for (const auto& entry : fs::directory_iterator(folder, missing)) {
        result.push_back(entry.path().filename().native());
    }
    std::ranges::sort(result);
    return result;
}

/// Everything that can be put back: what has both an item and a file that tells of it.
inline std::vector<Entry> entries(const fs::path& trash) {
    constexpr std::string_view suffix = ".trashinfo";
    std::vector<Entry> result;
    for (const std::string& name : names(trash / "info")) {
        if (!name.ends_with(suffix)) {
            continue;
        }
        const fs::path info = trash / "info" / name;
        const fs::path item = trash / "files" / name.substr(0, name.size() - suffix.size());
        const std::string text = contents(info);
        if (fs::exists(fs::symlink_status(item)) && text.starts_with("[Trash Info]\n")) {
            result.push_back({info, item, decoded(value(text, "Path")), value(text, "DeletionDate")});
        }
    }
    return result;
}

/// Puts an item back; `top` is where places that are not absolute begin.
inline void restore(const Entry& entry, const fs::path& top = "/") {
    fs::rename(entry.item, top / entry.place);
    fs::remove(entry.info);
}

/// All there is to a file, folder or link and what is below it, by names.
inline std::map<std::string, std::string> pictureOf(const fs::path& path) {
    const auto described = [](const fs::path& item) {
        const auto status = fs::symlink_status(item);
        std::string text = std::to_string(static_cast<int>(status.type())) + " ";
        if (fs::is_symlink(status)) {
            return text + fs::read_symlink(item).native();
        }
        text += std::to_string(static_cast<int>(status.permissions())) + " " +
                std::to_string(fs::last_write_time(item).time_since_epoch().count()) + " ";
        return fs::is_regular_file(status) ? text + contents(item) : text;
    };
    std::map<std::string, std::string> picture{{"", described(path)}};
    if (fs::is_directory(fs::symlink_status(path))) {
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            picture[entry.path().lexically_relative(path).native()] = described(entry.path());
        }
    }
    return picture;
}

} // namespace TrashReader
