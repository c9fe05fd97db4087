#include "Platforms/Linux/Storage/RunningProcesses.hpp"

#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/FolderEntries.hpp"
#include "Platforms/Linux/Storage/Identifiers.hpp"
#include "Platforms/Linux/Storage/InstalledSources.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Linux {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestText = 65'536; // bytes of a process's description that are read

/// Without the escapes of a unit's name: "\x2d" is a dash.
std::string unitName(std::string_view escaped) {
    std::string name;
    for (std::size_t index = 0; index < escaped.size(); ++index) {
        constexpr std::string_view digits = "0123456789abcdef";
        const auto high =
            index + 3 < escaped.size() ? digits.find(escaped[index + 2]) : std::string_view::npos;
        const auto low =
            index + 3 < escaped.size() ? digits.find(escaped[index + 3]) : std::string_view::npos;
        if (escaped.substr(index).starts_with("\\x") && high < digits.size() && low < digits.size()) {
            name += static_cast<char>(high * 16 + low);
            index += 3;
        } else {
            name += escaped[index];
        }
    }
    return name;
}

/// "app-flatpak-org.example.Editor-123.scope", "snap.editor.editor-….scope", "app-editor@…service".
void addUnit(std::string_view unit, InstalledNames& names) {
    std::string_view name = unit.substr(0, unit.find('@'));
    for (const std::string_view suffix : {".scope", ".service", ".slice"}) {
        name.remove_suffix(name.ends_with(suffix) ? suffix.size() : 0);
    }
    if (name.starts_with("snap.")) {
        const auto parts = labels(name);
        names.addProgram(parts[1]);
        return;
    }
    const std::string plain = unitName(name);
    std::string_view rest = plain;
    const auto last = rest.rfind('-');
    const bool hasNumber = last != std::string_view::npos && last + 1 < rest.size() &&
                           rest.find_first_not_of("0123456789", last + 1) == std::string_view::npos;
    rest = hasNumber ? rest.substr(0, last) : rest;
    if (!rest.starts_with("app-")) {
        return;
    }
    // Who has started it may come first, and both may contain dashes.
    for (auto dash = rest.find('-'); dash != std::string_view::npos; dash = rest.find('-', dash + 1)) {
        names.addProgram(rest.substr(dash + 1));
    }
}

void addUnits(const fs::path& process, InstalledNames& names) {
    const std::string text = readRegularFile((process / "cgroup").string(), longestText).value_or("");
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find_first_of("/\n", begin), text.size());
        addUnit(std::string_view(text).substr(begin, end - begin), names);
        begin = end + 1;
    }
}

std::vector<std::string_view> argumentsOf(std::string_view commandLine) {
    std::vector<std::string_view> arguments;
    while (!commandLine.empty()) {
        arguments.push_back(commandLine.substr(0, commandLine.find('\0')));
        commandLine.remove_prefix(std::min(arguments.back().size() + 1, commandLine.size()));
    }
    return arguments;
}

/// The script of an interpreter; empty where it is given its commands as text.
std::string_view scriptOf(const std::vector<std::string_view>& arguments) {
    for (std::size_t index = 1; index < arguments.size() && arguments[index] != "-c"; ++index) {
        if (!arguments[index].starts_with('-')) {
            return arguments[index];
        }
    }
    return {};
}

/// The executable and what it calls itself, and the script that it runs. Other arguments may name any file.
void addExecutable(const fs::path& process, InstalledNames& names) {
    constexpr std::string_view deleted = " (deleted)";
    std::string executable = linkTarget(process / "exe");
    if (executable.ends_with(deleted)) {
        executable.resize(executable.size() - deleted.size());
    }
    addProgramPath(executable, names);
    const std::string text = readRegularFile((process / "cmdline").string(), longestText).value_or("");
    const auto arguments = argumentsOf(text);
    if (arguments.empty()) {
        return;
    }
    const std::string_view command =
        arguments[0].substr(0, arguments[0].find(" -")); // some write all into one
    addProgramPath(command, names);
    if (startsOthers(command)) {
        addProgramPath(scriptOf(arguments), names);
    }
}

/// The part of a line between two blanks; the first is 0.
std::string_view field(std::string_view line, int index) {
    for (; index > 0; --index) {
        line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
        if (line.empty()) {
            return {};
        }
    }
    return line.substr(0, line.find(' '));
}

/// Without the kernel's escapes: "\040" is a blank.
std::string unescapedPath(std::string_view text) {
    std::string path;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::string_view digits = text.substr(std::min(index + 1, text.size()), 3);
        if (text[index] == '\\' && digits.size() == 3 &&
            digits.find_first_not_of("01234567") == std::string_view::npos) {
            path += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
            index += 3;
        } else {
            path += text[index];
        }
    }
    return path;
}

} // namespace

void forEachProcess(const StorageLayout& layout, const std::function<void(const fs::path&)>& visit) {
    forEachEntry(layout.inside("/proc"), [&](const fs::directory_entry& entry) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            visit(entry.path());
        }
    });
}

void addRunningPrograms(const StorageLayout& layout, InstalledNames& names) {
    forEachProcess(layout, [&](const fs::path& process) {
        addExecutable(process, names);
        addUnits(process, names);
    });
}

EntriesInUse::EntriesInUse(const StorageLayout& layout, const std::vector<fs::path>& folders) {
    for (const fs::path& folder : folders) {
        beginnings_.push_back(folder.native() + '/');
    }
    forEachProcess(layout, [&](const fs::path& process) {
        struct stat status {};
        if (::stat(process.c_str(), &status) == 0 && status.st_uid == layout.user) {
            addProcess(process);
        }
    });
    addMounts(layout);
}

void EntriesInUse::addProcess(const fs::path& process) {
    for (const char* link : {"exe", "cwd", "root"}) {
        add(linkTarget(process / link));
    }
    forEachEntry(process / "fd", [&](const fs::directory_entry& entry) { add(linkTarget(entry.path())); });
}

void EntriesInUse::addMounts(const StorageLayout& layout) {
    constexpr std::size_t longest = 1 << 20; // bytes
    constexpr int mountPoint = 4;            // the field of a line
    const std::string text =
        readRegularFile(layout.inside("/proc/self/mountinfo").string(), longest).value_or("");
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        add(unescapedPath(field(line, mountPoint)));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
}

/// Notes the entry at whose place, or below which, something is used.
void EntriesInUse::add(const std::string& used) {
    for (const std::string& beginning : beginnings_) {
        if (used.starts_with(beginning)) {
            entries_.insert(used.substr(0, used.find('/', beginning.size())));
        }
    }
}

} // namespace Linux
