#include "Platforms/Linux/MenuBar/TrayIdentity.hpp"

#include "Platforms/Linux/ProcessFacts.hpp"
#include "Platforms/Linux/RegularFile.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace Linux {

namespace {

constexpr std::size_t longestIdentity = 200; // bytes
constexpr std::size_t longestProgram = 80;   // bytes of it
constexpr std::size_t longestCommand = 4096;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// A program that runs others: what it runs is told by its arguments.
struct Interpreter {
    std::string_view name;         // a version may follow
    std::string_view valueOptions; // take the next argument; between spaces
    std::string_view codeOptions;  // bring the program itself: no file is run
};

constexpr std::string_view nodeValues = " -r --require --import --loader --experimental-loader -C ";
constexpr std::string_view javaValues =
    " -cp -classpath --class-path -p --module-path --add-modules --add-opens --add-exports --add-reads ";
constexpr std::array interpreters{
    Interpreter{"python", " -W -X ", " -c "},
    Interpreter{"pypy", " -W -X ", " -c "},
    Interpreter{"node", nodeValues, " -e --eval -p --print "},
    Interpreter{"nodejs", nodeValues, " -e --eval -p --print "},
    Interpreter{"electron", nodeValues, ""},
    Interpreter{"perl", " -I ", " -e -E "},
    Interpreter{"ruby", " -I -r -C ", " -e "},
    Interpreter{"java", javaValues, ""},
    Interpreter{"bash", " -o +o -O +O --rcfile --init-file ", " -c -ic -lc "},
    Interpreter{"sh", " -o +o ", " -c -ic -lc "},
    Interpreter{"dash", " -o +o ", " -c -ic -lc "},
    Interpreter{"zsh", " -o +o ", " -c -ic -lc "},
    Interpreter{"ksh", " -o +o ", " -c -ic -lc "},
    Interpreter{"gjs", " -I ", " -c "},
    Interpreter{"gjs-console", " -I ", " -c "},
    Interpreter{"mono", "", ""},
    Interpreter{"mono-sgen", "", ""},
    Interpreter{"dotnet", " --additionalprobingpath --depsfile --runtimeconfig --fx-version ", ""},
    Interpreter{"php", " -c -d ", " -r "},
    Interpreter{"lua", " -l ", " -e "},
    Interpreter{"luajit", " -l ", " -e "},
    Interpreter{"wish", "", ""},
    Interpreter{"tclsh", "", ""},
    Interpreter{"guile", " -L -C -l ", " -c "},
    Interpreter{"qmlscene", " -I -P ", ""},
    Interpreter{"qml", " -I -P -f -c ", ""},
};

std::vector<std::string_view> parts(std::string_view text, char separator) {
    std::vector<std::string_view> result;
    for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
        result.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    result.push_back(text);
    return result;
}

bool contains(std::string_view words, std::string_view word) {
    std::string wanted = " ";
    wanted.append(word).append(" ");
    return words.find(wanted) != std::string_view::npos;
}

const Interpreter* interpreter(std::string_view program) {
    const auto isVersion = [](std::string_view text) {
        return std::ranges::all_of(text, [](char each) { return isDigit(each) || each == '.'; });
    };
    const auto* found = std::ranges::find_if(interpreters, [&](const Interpreter& each) {
        return program.starts_with(each.name) && isVersion(program.substr(each.name.size()));
    });
    return found == interpreters.end() ? nullptr : found;
}

/// The last part of a path that tells one program from another: of "/opt/kettle/resources/app.asar" it is
/// "kettle". Where every part is one that many programs have, none is told.
std::string_view tellingName(std::string_view path) {
    constexpr std::array commonNames = std::to_array<std::string_view>(
        {"",         ".",       "..",      "app",         "app.asar", "resources", "dist",
         "build",    "src",     "bin",     "lib",         "main",     "main.js",   "index.js",
         "main.py",  "app.py",  "run.py",  "__main__.py", "main.sh",  "start.sh",  "run.sh",
         "main.qml", "main.pl", "main.rb", "app.jar",     "main.lua"});
    while (!path.empty()) {
        const std::size_t slash = path.rfind('/');
        const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
        if (std::ranges::find(commonNames, name) == commonNames.end()) {
            return name;
        }
        path = slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
    }
    return {};
}

/// What the interpreter has been told to run; empty where that is no file or module.
std::string scriptName(const Interpreter& interpreter, std::string_view commandLine) {
    const std::vector<std::string_view> arguments = parts(commandLine, '\0');
    for (std::size_t index = 1; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (contains(interpreter.codeOptions, argument)) {
            return {};
        }
        if (contains(interpreter.valueOptions, argument)) {
            ++index;
        } else if (!argument.empty() && argument.front() != '-' && argument.front() != '+') {
            return std::string(tellingName(argument));
        }
    }
    return {};
}

/// The name the process gives itself, where its executable is another user's.
std::string commandName(const std::string& folder) {
    constexpr std::size_t longestName = 64; // bytes; the kernel gives 15
    const std::string text = readRegularFile(folder + "/comm", longestName).value_or(std::string());
    return text.substr(0, text.find('\n'));
}

/// How many bytes the character at the start of a text takes; 0 where that is no UTF-8.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Longer than need be, half of a surrogate pair, beyond the last character.
    const bool isOdd = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                       (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return isOdd ? 0 : length;
}

/// At most `most` bytes of a text in whole characters; what cannot be shown or stored is replaced.
std::string cleaned(std::string_view text, std::size_t most) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const auto first = static_cast<unsigned char>(text.front());
        const bool isControl =
            first < 0x20 || first == 0x7F || (first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0);
        const std::string_view character = length == 0 || isControl ? "_" : text.substr(0, length);
        if (result.size() + character.size() > most) {
            break;
        }
        result += character;
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string withoutNumber(std::string_view id, int number) {
    const std::string digits = std::to_string(number);
    std::string result;
    for (std::size_t at = 0; at < id.size();) {
        const auto run = id.substr(at);
        const auto length = static_cast<std::size_t>(std::ranges::find_if_not(run, isDigit) - run.begin());
        if (length == 0) {
            result += id[at++];
            continue;
        }
        if (number <= 0 || run.substr(0, length) != digits) {
            result += run.substr(0, length);
        }
        at += length;
    }
    return result;
}

} // namespace

ProcessIdentity processIdentity(int pid, const std::string& procFolder) {
    ProcessIdentity identity{.pid = pid, .program = {}};
    if (pid <= 0) {
        return identity;
    }
    const std::string folder = procFolder + "/" + std::to_string(pid);
    identity.program = flatpakIdentifier(folder);
    if (!identity.program.empty()) {
        return identity;
    }
    identity.program = executableName(folder);
    if (identity.program.empty()) {
        identity.program = commandName(folder);
    }
    if (const Interpreter* runs = interpreter(identity.program)) {
        const auto commandLine = readRegularFile(folder + "/cmdline", longestCommand);
        const std::string script = commandLine ? scriptName(*runs, *commandLine) : std::string();
        identity.program = script.empty() ? identity.program : script;
    }
    return identity;
}

std::string trayIdentity(std::string_view id, const ProcessIdentity& process) {
    constexpr std::string_view prefix = "sni:";
    const std::string program = cleaned(process.program, longestProgram);
    const std::string ending = program.empty() ? std::string() : "/" + program;
    const std::size_t room = longestIdentity - prefix.size() - ending.size();
    return std::string(prefix) + cleaned(withoutNumber(id, process.pid), room) + ending;
}

} // namespace Linux
