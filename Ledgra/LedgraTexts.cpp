#include "Ledgra/LedgraTexts.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <string_view>

namespace Ledgra {

using namespace ZorbelKit;

namespace {

constexpr std::string_view breakPlace = "\xE2\x80\x8B"; // a space without width
constexpr int longestWord = 48;                         // letters, then a name may be broken

} // namespace

std::string nameOf(const std::filesystem::path& file) {
    std::string_view path = file.native();
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    if (path.size() > 1) {
        path.remove_prefix(path.rfind('/') + 1);
    }
    return utf8::repaired(std::string(path));
}

std::string titleText(const std::string& name) {
    std::string title = utf8::oneLine(name);
    return title.empty() ? name : title;
}

std::string tipText(const std::filesystem::path& file) {
    const std::string path = utf8::oneLine(utf8::repaired(file.native()));
    std::string text;
    int wordLength = 0;
    for (std::string_view rest = path; !rest.empty();) {
        const auto next = utf8::first(rest);
        text += rest.substr(0, next.length);
        const bool isPlain = next.value < 0x7F; // what follows another letter may belong to it
        wordLength = utf8::isSpace(next.value) ? 0 : wordLength + 1;
        if (next.value == U'/' || (wordLength >= longestWord && isPlain)) {
            text += breakPlace;
            wordLength = 0;
        }
        rest.remove_prefix(next.length);
    }
    return text;
}

std::string filesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

std::string menuText(std::size_t count) {
    return count == 0 ? "Shelf is empty." : std::to_string(count) + " on the shelf";
}

std::string emptyText(bool isTargeted) {
    return isTargeted ? "Let go" : "Drop files here";
}

} // namespace Ledgra
