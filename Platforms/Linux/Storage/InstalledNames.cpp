#include "Platforms/Linux/Storage/InstalledNames.hpp"

#include "Platforms/Linux/AsciiCase.hpp"
#include "Platforms/Linux/Storage/Identifiers.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Linux {

namespace {

constexpr std::size_t longestName = 255;   // bytes, as of a file's name
constexpr std::size_t mostNames = 400'000; // a machine has a few thousand

constexpr std::size_t shortestWord = 3; // in the middle of an identifier, that tells of a program

std::string_view withoutSuffix(std::string_view name) {
    constexpr std::string_view suffix = ".desktop";
    return name.size() > suffix.size() && name.ends_with(suffix) ? name.substr(0, name.size() - suffix.size())
                                                                 : name;
}

std::string_view lastLabel(std::string_view name) {
    return name.substr(name.rfind('.') + 1); // past the end of none is all of it
}

} // namespace

bool InstalledNames::insert(std::string_view name) {
    if (name.empty() || name.size() > longestName || name.find('/') != std::string_view::npos ||
        name.find('\0') != std::string_view::npos || all_.size() >= mostNames) {
        return false;
    }
    const std::string lower = lowered(name);
    all_.emplace(name);
    all_.insert(lower);
    if (looksLikeIdentifier(name)) {
        for (const char* helper : {".helper", ".Helper", "-helper", ".Renderer", ".Locale", ".Devel"}) {
            all_.insert(std::string(name) + helper);
            all_.insert(lower + helper);
        }
    }
    return true;
}

void InstalledNames::addIdentifier(std::string_view identifier) {
    const std::string_view name = withoutSuffix(identifier);
    if (!insert(name)) {
        return;
    }
    const std::string lower = lowered(name);
    identifiers_.insert(lower);
    if (const std::string_view last = lastLabel(lower); !isGenericLabel(last)) {
        programs_.insert(comparable(last));
        programs_.insert(comparableStem(last));
    }
    if (!looksLikeIdentifier(lower)) {
        return;
    }
    vendors_.emplace(vendorOf(lower));
    for (auto dot = lower.find('.', lower.find('.') + 1); dot != std::string::npos;
         dot = lower.find('.', dot + 1)) {
        beginnings_.insert(lower.substr(0, dot));
    }
}

void InstalledNames::addProgram(std::string_view name) {
    if (!insert(withoutSuffix(name))) {
        return;
    }
    programs_.insert(comparable(name));
    programs_.insert(comparableStem(name));
    if (looksLikeIdentifier(withoutSuffix(name))) {
        addIdentifier(name);
    }
}

void InstalledNames::addExecutable(std::string_view name) {
    if (!insert(name)) {
        return;
    }
    executables_.insert(comparable(name));
    executables_.insert(comparableStem(name));
    if (looksLikeIdentifier(name)) {
        addIdentifier(name);
    }
}

bool InstalledNames::claim(std::string_view identifier, Kinship kinship) const {
    const std::string lower = lowered(identifier);
    return identifiers_.contains(lower) || all_.contains(lower) || claimsHelper(lower) ||
           claimsRenamed(lower) || (kinship == Kinship::vendors && claimsVendor(lower));
}

/// Either may be the helper.
bool InstalledNames::claimsHelper(std::string_view lower) const {
    for (auto dot = lower.rfind('.'); dot != std::string_view::npos && dot > 0;
         dot = lower.rfind('.', dot - 1)) {
        if (identifiers_.contains(lower.substr(0, dot)) && lower.substr(0, dot) != labels(lower).front()) {
            return true;
        }
    }
    return beginnings_.contains(lower);
}

/// The last part names a program ("org.gimp.GIMP"), or all after some part do ("com.google.Chrome").
bool InstalledNames::claimsRenamed(std::string_view lower) const {
    const std::string_view last = lastLabel(lower);
    if (!isGenericLabel(last)) {
        for (const std::string& word : {comparable(last), comparableStem(last)}) {
            if (programs_.contains(word) || executables_.contains(word)) {
                return true;
            }
        }
    }
    for (auto dot = lower.find('.'); dot != lower.rfind('.'); dot = lower.find('.', dot + 1)) {
        const std::string_view rest = lower.substr(dot + 1);
        if (programs_.contains(comparable(rest)) || programs_.contains(comparableStem(rest))) {
            return true;
        }
    }
    return false;
}

/// Or a part in the middle names a program ("com.spotify.Client").
bool InstalledNames::claimsVendor(std::string_view lower) const {
    const std::string_view vendor = vendorOf(lower);
    if (!vendor.empty() && vendors_.contains(vendor)) {
        return true;
    }
    const auto parts = labels(lower);
    const bool isHosted = std::ranges::count(vendor, '.') > 1;
    for (std::size_t index = isHosted ? 2 : 1; index + 1 < parts.size(); ++index) {
        const std::string word = comparableStem(parts[index]);
        if (word.size() >= shortestWord && !isGenericLabel(word) &&
            (programs_.contains(word) || programs_.contains(comparable(parts[index])))) {
            return true;
        }
    }
    return false;
}

} // namespace Linux
