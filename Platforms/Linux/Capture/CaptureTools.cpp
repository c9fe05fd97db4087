#include "Platforms/Linux/Capture/CaptureTools.hpp"

#include "ZorbelKit/Palette.hpp"

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <sstream>
#include <system_error>

namespace Linux {

namespace {

constexpr int lineWidth = 2; // pixels, of the frame around what is selected

// The scripts below are fixed texts; the path of the file is their first argument and is never read as text.
constexpr const char* shell = "/bin/sh";

/// slop's options for how a selection looks. It draws without OpenGL, which takes a while to load and would
/// only make the line see-through.
std::string slopLook() {
    std::ostringstream options;
    options.imbue(std::locale::classic());
    options << "-q -o -b " << lineWidth << " -c " << ZorbelKit::brass.red << ',' << ZorbelKit::brass.green
            << ',' << ZorbelKit::brass.blue << ",1";
    return options.str();
}

/// slurp's, which takes colours as eight hexadecimal digits, the opacity last.
std::string slurpLook() {
    const auto digits = [](const ZorbelKit::Color& colour) {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << '#' << std::hex;
        for (const double share : {colour.red, colour.green, colour.blue, colour.opacity}) {
            const auto byte = std::lround(share * 255);
            text << (byte < 16 ? "0" : "") << byte;
        }
        return text.str();
    };
    constexpr double shade = 0.35; // over what is not selected
    return "-b '" + digits(ZorbelKit::stall.withOpacity(shade)) + "' -c '" + digits(ZorbelKit::brass) +
           "' -s '" + digits(ZorbelKit::brass.withOpacity(0)) + "' -w " + std::to_string(lineWidth);
}

/// No click on a window is meant: whatever is smaller than two pixels either way is no region.
std::string x11Region() {
    return "command -v slop >/dev/null || exec maim -m 1 -u -s -t 0 " + slopLook() + R"sh( "$1"
part=$(slop -t 0 )sh" +
           slopLook() + R"sh( -f '%w %h %x %y') || exit
set -- "$1" $part
[ "$2" -ge 2 ] && [ "$3" -ge 2 ] || exit 1
exec maim -q -m 1 -u -g "$2x$3+$4+$5" "$1"
)sh";
}

/// However far the pointer moves between press and release, the window is meant. slop knows its frame; the
/// client in it says how much of that is a shadow it has drawn itself, in a property that may hold anything.
/// Only what lies on the screen is taken.
std::string x11Window() {
    return "command -v slop >/dev/null || exec maim -m 1 -u -s -t 9999999 " + slopLook() + R"sh( "$1"
part=$(slop -t 9999999 )sh" +
           slopLook() + R"sh( -f '%w %h %x %y %i') || exit
file=$1
set -- $part
width=$1 height=$2 x=$3 y=$4 frame=$5
below() {
    xwininfo -id "$frame" -tree 2>/dev/null | while read -r id rest; do
        case $id in 0x*) echo "$id" ;; esac
    done | head -n 16
}
client() {
    for window in "$frame" $(below); do
        about=$(xprop -id "$window" -notype WM_STATE _GTK_FRAME_EXTENTS 2>/dev/null)
        case $about in *"window state"*) echo "$about"; return ;; esac
    done
}
shadow=$(client)
case $shadow in *"_GTK_FRAME_EXTENTS = "*)
    IFS=', '
    set -- ${shadow##*_GTK_FRAME_EXTENTS = }
    unset IFS
    case $#$1$2$3$4 in 4*[!0-9]* | [!4]*) set -- 0 0 0 0 ;; esac
    if [ $((width - $1 - $2)) -ge 1 ] && [ $((height - $3 - $4)) -ge 1 ]; then
        x=$((x + $1)) y=$((y + $3)) width=$((width - $1 - $2)) height=$((height - $3 - $4))
    fi ;;
esac
screen=$(xwininfo -root 2>/dev/null | while read -r name value rest; do
    case $name in Width: | Height:) echo "$value" ;; esac
done)
[ "$x" -ge 0 ] || width=$((width + x)) x=0
[ "$y" -ge 0 ] || height=$((height + y)) y=0
set -- $screen
[ "$((x + width))" -le "${1:-32767}" ] || width=$(($1 - x))
[ "$((y + height))" -le "${2:-32767}" ] || height=$(($2 - y))
[ "$width" -ge 1 ] && [ "$height" -ge 1 ] || exit 1
exec maim -q -m 1 -u -g "${width}x$height+$x+$y" "$file"
)sh";
}

std::string waylandRegion() {
    return "part=$(slurp " + slurpLook() + R"sh( -f '%w %h %x,%y') || exit
set -- "$1" $part
[ "$2" -ge 2 ] && [ "$3" -ge 2 ] || exit 1
exec grim -l 1 -g "$4 $2x$3" "$1"
)sh";
}

/// No program is told where windows are: the user draws the frame around one, or clicks for all of a monitor.
std::string waylandWindow() {
    return "part=$(slurp -o " + slurpLook() + R"sh() || exit
exec grim -l 1 -g "$part" "$1"
)sh";
}

Fotrel::CaptureTool scripts(const std::string& region, const std::string& window, const std::string& screen) {
    return {.executable = shell,
            .region = {"-c", region, "sh"},
            .window = {"-c", window, "sh"},
            .screen = {"-c", screen, "sh"}};
}

/// What maim does without the help of a shell.
Fotrel::CaptureTool maimAlone() {
    return {.executable = "maim",
            .region = {"-m", "1", "-u", "-s", "-t", "0"},
            .window = {"-m", "1", "-u", "-s", "-t", "9999999"},
            .screen = {"-m", "1", "-u"}};
}

/// Should it be installed meanwhile, nothing is taken: it is not asked what to take, and must not take all.
Fotrel::CaptureTool missing(const char* program) {
    return {.executable = program, .region = {"-g", ""}, .window = {"-g", ""}, .screen = {}};
}

std::optional<std::string> valueOf(std::string_view name) {
    const char* value = std::getenv(std::string(name).c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

bool isOnPath(std::string_view program) {
    std::istringstream folders(valueOf("PATH").value_or("/bin:/usr/bin"));
    for (std::string folder; std::getline(folders, folder, ':');) {
        const auto file = std::filesystem::path(folder.empty() ? "." : folder) / program;
        std::error_code ignored;
        if (std::filesystem::is_regular_file(file, ignored) && ::access(file.c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

Fotrel::CaptureTool x11CaptureTool() {
    return scripts(x11Region(), x11Window(), "exec maim -q -m 1 -u \"$1\"\n");
}

Fotrel::CaptureTool waylandCaptureTool() {
    return scripts(waylandRegion(), waylandWindow(), "exec grim -l 1 \"$1\"\n");
}

Fotrel::CaptureTool captureTool(const EnvironmentValue& environment, const IsInstalled& isInstalled) {
    const bool isWayland =
        !environment("WAYLAND_DISPLAY").value_or("").empty() || environment("XDG_SESSION_TYPE") == "wayland";
    if (!isWayland) {
        return isInstalled("maim") ? x11CaptureTool() : maimAlone();
    }
    for (const char* program : {"grim", "slurp"}) {
        if (!isInstalled(program)) {
            return missing(program);
        }
    }
    return waylandCaptureTool();
}

Fotrel::CaptureTool captureTool() {
    return captureTool(valueOf, isOnPath);
}

} // namespace Linux
