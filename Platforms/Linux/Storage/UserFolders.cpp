#include "Platforms/Linux/Storage/UserFolders.hpp"

#include <algorithm>
#include <utility>

namespace Linux {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view blanks = " \t\r";

std::string_view withoutLeading(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(blanks), text.size()));
}

/// What a shell makes of the first word, with no variable but HOME. None where its quotes do not end.
std::optional<std::string> shellWord(std::string_view text, const std::string& home) {
    std::string word;
    char quote = 0;
    while (!text.empty()) {
        const char character = text.front();
        if (!quote && blanks.find(character) != std::string_view::npos) {
            break;
        }
        if (character == '$' && quote != '\'') {
            const std::string_view variable = text.starts_with("${HOME}") ? "${HOME}" : "$HOME";
            const std::string_view rest = text.substr(std::min(variable.size(), text.size()));
            const bool isWhole =
                rest.empty() || variable.ends_with('}') || rest.front() == '/' || rest.front() == '"';
            if (!text.starts_with(variable) || !isWhole) {
                return std::nullopt;
            }
            word += home;
            text = rest;
            continue;
        }
        if (character == '\\' && quote != '\'' && text.size() > 1) {
            word += text[1];
            text.remove_prefix(2);
            continue;
        }
        if (quote ? character == quote : character == '"' || character == '\'') {
            quote = quote ? '\0' : character;
        } else {
            word += character;
        }
        text.remove_prefix(1);
    }
    return quote ? std::nullopt : std::optional(std::move(word));
}

/// The same path without "." and "..", and without a slash at its end.
fs::path tidied(const fs::path& path) {
    const fs::path normal = path.lexically_normal();
    return normal.has_filename() || normal == normal.root_path() ? normal : normal.parent_path();
}

} // namespace

UserFolders::UserFolders(std::string_view text, const fs::path& home)
    : home_(tidied(home)) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        read(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
}

std::optional<fs::path> UserFolders::folder(std::string_view key, const char* otherwise) const {
    const auto found = folders_.find(key);
    const fs::path folder = found == folders_.end() ? home_ / otherwise : found->second;
    return folder == home_ ? std::nullopt : std::optional(folder);
}

void UserFolders::read(std::string_view line) {
    constexpr std::string_view prefix = "XDG_";
    constexpr std::string_view suffix = "_DIR";
    line = withoutLeading(line);
    const auto equals = line.find('=');
    if (equals == std::string_view::npos || !line.starts_with(prefix)) {
        return;
    }
    std::string_view key = line.substr(prefix.size(), equals - prefix.size());
    key = key.substr(0, key.find_last_not_of(blanks) + 1);
    const auto value = shellWord(withoutLeading(line.substr(equals + 1)), home_.string());
    if (key.size() <= suffix.size() || !key.ends_with(suffix) || !value || !value->starts_with('/') ||
        value->find('\0') != std::string::npos) {
        return;
    }
    key.remove_suffix(suffix.size());
    folders_.insert_or_assign(std::string(key), tidied(*value)); // as in a shell, the last one counts
}

} // namespace Linux
