#include "Duvesk/DuveskTexts.hpp"

#include "ZorbelKit/Utf8.hpp"

namespace Duvesk {

using namespace ZorbelKit;

std::string titleText(const Finding& finding) {
    return utf8::oneLine(utf8::repaired(finding.url.filename().native()));
}

std::string pathText(const Finding& finding) {
    return utf8::oneLine(utf8::repaired(finding.url.native()));
}

std::string findingsText(std::size_t count) {
    return std::to_string(count) + " findings";
}

} // namespace Duvesk
