#include "Platforms/Linux/MenuBar/BusNames.hpp"

#include <QStringTokenizer>

#include <algorithm>

namespace Linux {

namespace {

bool isDigit(QChar character) {
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

/// The bus knows Latin letters only.
bool isWordCharacter(QChar character) {
    const char16_t code = character.unicode();
    return isDigit(character) || (code >= u'a' && code <= u'z') || (code >= u'A' && code <= u'Z') ||
           code == u'_';
}

bool isNameCharacter(QChar character) {
    return isWordCharacter(character) || character == QLatin1Char('-');
}

} // namespace

bool isBusName(QStringView name) {
    if (name.size() > longestBusName) {
        return false;
    }
    const bool isUnique = name.startsWith(QLatin1Char(':'));
    int elements = 0;
    for (const QStringView element : name.sliced(isUnique ? 1 : 0).tokenize(u'.')) {
        ++elements;
        if (element.isEmpty() || !std::ranges::all_of(element, isNameCharacter)) {
            return false;
        }
        if (!isUnique && isDigit(element.front())) {
            return false;
        }
    }
    return elements > 1;
}

bool isObjectPath(QStringView path) {
    if (!path.startsWith(QLatin1Char('/')) || path.size() > longestBusName) {
        return false;
    }
    if (path.size() == 1) {
        return true;
    }
    for (const QStringView element : path.sliced(1).tokenize(u'/')) {
        if (element.isEmpty() || !std::ranges::all_of(element, isWordCharacter)) {
            return false;
        }
    }
    return true;
}

} // namespace Linux
