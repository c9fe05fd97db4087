#include "Platforms/Linux/ProcessFacts.hpp"

#include "Platforms/Linux/RegularFile.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace Linux {

namespace {

constexpr std::size_t longestPath = 4096; // bytes
constexpr std::size_t longestFile = 8192;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

std::optional<int> hexValue(char character) {
    if (isDigit(character)) {
        return character - '0';
    }
    return character >= 'a' && character <= 'f' ? std::optional(character - 'a' + 10) : std::nullopt;
}

bool isIdentifier(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char each) {
        return isDigit(each) || (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') || each == '.' ||
               each == '-' || each == '_';
    });
}

std::vector<std::string_view> parts(std::string_view text, char separator) {
    std::vector<std::string_view> result;
    for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
        result.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    result.push_back(text);
    return result;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Where a link of /proc leads; empty where that may not be known.
std::string linkTarget(const std::string& link) {
    std::array<char, longestPath> target{};
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    return length <= 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(length));
}

/// The name of a unit, in which systemd writes some characters as "\x2d".
std::string unescaped(std::string_view name) {
    std::string result;
    while (!name.empty()) {
        if (name.size() >= 4 && name.starts_with("\\x")) {
            const auto high = hexValue(name[2]);
            const auto low = hexValue(name[3]);
            if (high && low) {
                result += static_cast<char>(*high * 16 + *low);
                name.remove_prefix(4);
                continue;
            }
        }
        result += name.front();
        name.remove_prefix(1);
    }
    return result;
}

/// The part before a "-" or "." and the number, or the UUID, that tells one start of a program from the next.
std::string_view withoutStart(std::string_view name) {
    constexpr std::size_t uuidLength = 36;
    const auto isSeparator = [](char each) { return each == '-' || each == '.'; };
    const auto isUuid = [](std::string_view text) {
        return std::ranges::count(text, '-') == 4 &&
               std::ranges::all_of(text, [](char each) { return each == '-' || hexValue(each); });
    };
    if (name.size() > uuidLength) {
        const std::size_t before = name.size() - uuidLength - 1;
        if (isSeparator(name[before]) && isUuid(name.substr(before + 1))) {
            return name.substr(0, before);
        }
    }
    const std::size_t separator = name.find_last_of("-.");
    const bool isNumber = separator != std::string_view::npos && separator + 1 < name.size() &&
                          std::ranges::all_of(name.substr(separator + 1), isDigit);
    return isNumber ? name.substr(0, separator) : name;
}

Sandbox sandboxOfUnit(std::string_view unit) {
    constexpr std::string_view flatpak = "app-flatpak-";
    constexpr std::string_view snap = "snap.";
    bool isUnit = false;
    for (const std::string_view suffix : {".scope", ".service"}) {
        if (unit.ends_with(suffix)) {
            unit.remove_suffix(suffix.size());
            isUnit = true;
            break;
        }
    }
    if (isUnit && unit.starts_with(flatpak)) {
        std::string id = unescaped(withoutStart(unit.substr(flatpak.size())));
        return isIdentifier(id) ? Sandbox{Sandbox::Kind::flatpak, std::move(id)} : Sandbox{};
    }
    if (isUnit && unit.starts_with(snap)) {
        const std::string name = unescaped(withoutStart(unit.substr(snap.size())));
        const std::size_t dot = name.find('.');
        if (dot == std::string::npos || !isIdentifier(name)) {
            return {};
        }
        return {Sandbox::Kind::snap, name.substr(0, dot) + '_' + name.substr(dot + 1)};
    }
    return {};
}

} // namespace

std::string executableName(const std::string& folder) {
    constexpr std::string_view deleted = " (deleted)"; // replaced while it runs, by an update
    const std::string target = linkTarget(folder + "/exe");
    std::string_view path = target;
    if (path.ends_with(deleted)) {
        path.remove_suffix(deleted.size());
    }
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string flatpakIdentifier(const std::string& folder) {
    const auto text = readRegularFile(folder + "/root/.flatpak-info", longestFile, LastLink::refuse);
    if (!text) {
        return {};
    }
    constexpr std::string_view key = "name";
    bool isInSection = false;
    for (const std::string_view part : parts(*text, '\n')) {
        const std::string_view line = trimmed(part);
        const std::size_t equals = line.find('=');
        if (line.starts_with('[')) {
            isInSection = line == "[Application]";
        } else if (isInSection && equals != std::string_view::npos &&
                   trimmed(line.substr(0, equals)) == key) {
            const std::string_view name = trimmed(line.substr(equals + 1));
            return isIdentifier(name) ? std::string(name) : std::string();
        }
    }
    return {};
}

Sandbox sandboxOfGroups(std::string_view groups) {
    for (const std::string_view line : parts(groups, '\n')) {
        for (const std::string_view unit : parts(line, '/')) {
            const Sandbox sandbox = sandboxOfUnit(unit);
            if (sandbox.kind != Sandbox::Kind::none) {
                return sandbox;
            }
        }
    }
    return {};
}

ProcessFacts processFacts(std::int64_t pid, const std::string& procFolder) {
    if (pid <= 0) {
        return {};
    }
    const std::string folder = procFolder + "/" + std::to_string(pid);
    ProcessFacts facts{.sandbox =
                           sandboxOfGroups(readRegularFile(folder + "/cgroup", longestFile).value_or("")),
                       .executable = executableName(folder)};
    // What lies in the sandbox is looked at only where there is one: its files are the sandbox's own making.
    const std::string files = linkTarget(folder + "/ns/mnt");
    if (facts.sandbox.kind == Sandbox::Kind::none && !files.empty() &&
        files != linkTarget(procFolder + "/self/ns/mnt")) {
        const std::string id = flatpakIdentifier(folder);
        if (!id.empty()) {
            facts.sandbox = {Sandbox::Kind::flatpak, id};
        }
    }
    return facts;
}

} // namespace Linux
