#include "Platforms/Linux/DesktopFile.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Linux {

namespace {

std::string_view stripped(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r");
    const auto end = text.find_last_not_of(" \t\r");
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin, end + 1 - begin);
}

} // namespace

void forEachDesktopKey(std::string_view text, const std::function<void(const DesktopKey&)>& visit) {
    std::string_view group;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::string_view content = stripped(line);
        if (content.starts_with('[')) {
            group = content.substr(1, content.ends_with(']') ? content.size() - 2 : content.size() - 1);
        }
        const auto equals = content.find('=');
        if (equals != std::string_view::npos && !content.starts_with('#') && !content.starts_with('[')) {
            visit({group, stripped(content.substr(0, equals)), stripped(content.substr(equals + 1))});
        }
    }
}

std::string desktopString(std::string_view value) {
    std::string text;
    for (std::size_t index = 0; index < value.size(); ++index) {
        if (value[index] != '\\' || index + 1 == value.size()) {
            text += value[index];
            continue;
        }
        switch (value[++index]) {
        case 's':
            text += ' ';
            break;
        case 'n':
            text += '\n';
            break;
        case 't':
            text += '\t';
            break;
        case 'r':
            text += '\r';
            break;
        default:
            text += value[index];
        }
    }
    return text;
}

std::vector<std::string> commandWords(std::string_view command) {
    std::vector<std::string> words;
    std::string word;
    bool isInWord = false;
    char quote = 0;
    for (std::size_t index = 0; index < command.size(); ++index) {
        const char character = command[index];
        const bool separates = character == ' ' || character == '\t' || character == '\n';
        if (!quote && separates) {
            if (std::exchange(isInWord, false)) {
                words.push_back(std::exchange(word, {}));
            }
            continue;
        }
        isInWord = true;
        if (character == '\\' && quote != '\'' && index + 1 < command.size()) {
            word += command[++index];
        } else if (quote ? character == quote : character == '"' || character == '\'') {
            quote = quote ? '\0' : character;
        } else {
            word += character;
        }
    }
    if (isInWord) {
        words.push_back(std::move(word));
    }
    return words;
}

} // namespace Linux
