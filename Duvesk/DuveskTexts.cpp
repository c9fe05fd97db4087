#include "Duvesk/DuveskTexts.hpp"

#include "Duvesk/Duvesk.hpp"
#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <string_view>

namespace Duvesk {

using namespace ZorbelKit;

namespace {

constexpr int longestWord = 48;                         // letters; from there on a name may be broken
constexpr std::string_view breakPlace = "\xE2\x80\x8B"; // a space without width

std::string shown(const std::filesystem::path& path) {
    return utf8::oneLine(utf8::repaired(path.native()));
}

/// Where breaking does no harm: a letter of other scripts may go together with the one before it.
bool isPlainLetter(char32_t codePoint) {
    return codePoint > 0x20 && codePoint < 0x7F;
}

} // namespace

std::string titleText(const Finding& finding) {
    std::string name = shown(finding.url.filename());
    return name.empty() ? pathText(finding) : name;
}

std::string pathText(const Finding& finding) {
    return shown(finding.url);
}

std::string tipText(const Finding& finding) {
    const std::string path = pathText(finding);
    std::string text;
    int wordLength = 0;
    for (std::string_view rest = path; !rest.empty();) {
        const auto next = utf8::first(rest);
        wordLength = utf8::isSpace(next.value) ? 0 : wordLength + 1;
        if (wordLength > longestWord && isPlainLetter(next.value)) {
            text += breakPlace;
            wordLength = 1;
        }
        text += rest.substr(0, next.length);
        if (next.value == U'/') {
            text += breakPlace;
            wordLength = 0;
        }
        rest.remove_prefix(next.length);
    }
    return text;
}

std::string detailText(const Finding& finding) {
    return finding.note + ", " + asSize(finding.bytes);
}

std::string findingsText(std::size_t count) {
    return std::to_string(count) + " findings";
}

std::string scanText(bool isScanning) {
    return isScanning ? "Scanning" : "Scan this Mac";
}

std::string movedText(std::int64_t bytes) {
    return bytes < 1 ? std::string() : "Moved " + asSize(bytes) + " to the Trash";
}

std::string selectedText(std::int64_t bytes) {
    return asSize(bytes) + " selected";
}

std::string tabText(std::optional<Kind> kind) {
    return kind ? std::string(kindText(*kind)) : "Everything";
}

std::int64_t tabTotal(const DuveskSpice& spice, std::optional<Kind> kind) {
    if (kind) {
        return spice.total(*kind);
    }
    std::int64_t sum = 0;
    for (const Kind each : allKinds) {
        sum = checked::saturatingAdd(sum, spice.total(each));
    }
    return sum;
}

} // namespace Duvesk
