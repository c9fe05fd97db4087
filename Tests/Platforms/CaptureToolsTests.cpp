#include "Platforms/Linux/Capture/CaptureTools.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Environment = std::map<std::string, std::string, std::less<>>;

struct Machine {
    Environment environment;
    std::set<std::string, std::less<>> programs;

    Fotrel::CaptureTool tool() const {
        return Linux::captureTool(
            [this](std::string_view name) {
                const auto found = environment.find(name);
                return found == environment.end() ? std::nullopt : std::optional(found->second);
            },
            [this](std::string_view program) { return programs.contains(program); });
    }
};

bool runs(const std::vector<std::string>& arguments, const std::string& program) {
    return arguments.size() == 3 && arguments[1].find("exec " + program + " ") != std::string::npos;
}

TEST(CaptureTools, TheSessionSaysWhichToolItIs) {
    const struct {
        const char* name;
        Environment environment;
        bool isWayland;
    } rows[] = {{"nothing said", {}, false},
                {"X11", {{"DISPLAY", ":0"}, {"XDG_SESSION_TYPE", "x11"}}, false},
                {"a terminal", {{"XDG_SESSION_TYPE", "tty"}}, false},
                {"an empty name", {{"WAYLAND_DISPLAY", ""}, {"XDG_SESSION_TYPE", ""}}, false},
                {"a compositor", {{"WAYLAND_DISPLAY", "wayland-0"}}, true},
                {"with X programs", {{"WAYLAND_DISPLAY", "wayland-0"}, {"DISPLAY", ":0"}}, true},
                {"by its type", {{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}}, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Machine machine{row.environment, {"maim", "slop", "grim", "slurp"}};
        const auto tool = machine.tool();
        EXPECT_EQ(tool.executable, "/bin/sh");
        const std::string program = row.isWayland ? "grim" : "maim";
        EXPECT_TRUE(runs(tool.region, program));
        EXPECT_TRUE(runs(tool.window, program));
        EXPECT_TRUE(runs(tool.screen, program));
    }
}

TEST(CaptureTools, AMissingProgramStandsInTheToolsPlace) {
    const Environment x11{{"XDG_SESSION_TYPE", "x11"}};
    const Environment wayland{{"XDG_SESSION_TYPE", "wayland"}};
    const struct {
        const char* name;
        Machine machine;
        const char* executable;
    } rows[] = {{"no maim", {x11, {"slop", "grim", "slurp"}}, "maim"},
                {"no slop", {x11, {"maim"}}, "/bin/sh"},
                {"no grim", {wayland, {"slurp", "maim"}}, "grim"},
                {"no slurp", {wayland, {"grim", "maim"}}, "slurp"},
                {"none", {wayland, {}}, "grim"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.machine.tool().executable, row.executable);
    }
}

TEST(CaptureTools, AProgramThatIsInstalledLaterNeverTakesMoreThanWasAsked) {
    const auto maim = Machine{{}, {}}.tool();
    EXPECT_NE(std::ranges::find(maim.region, "-s"), maim.region.end());
    EXPECT_NE(std::ranges::find(maim.window, "-s"), maim.window.end());
    const auto grim = Machine{{{"WAYLAND_DISPLAY", "wayland-0"}}, {}}.tool();
    EXPECT_EQ(grim.region, (std::vector<std::string>{"-g", ""}));
    EXPECT_EQ(grim.window, (std::vector<std::string>{"-g", ""}));
}

} // namespace
