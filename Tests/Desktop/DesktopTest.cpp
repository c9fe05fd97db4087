#include "Tests/Desktop/DesktopTest.hpp"

#include <csignal>

namespace Desktop {

DesktopTest::DesktopTest()
    : environment{{"XDG_CONFIG_HOME", settings.folder().string()},
                  {"XDG_CURRENT_DESKTOP", ""},
                  {"ZORBEL_OPEN_DASHBOARD", std::nullopt}} {
    settings.write({{"app.hasLaunched", true}});
    screen().movePointer(nowhere);
}

DesktopTest::~DesktopTest() = default;

void DesktopTest::TearDown() {
    for (Program& program : programs) {
        if (program.isRunning()) {
            EXPECT_EQ(end(program), 0) << program.output();
        }
    }
}

void DesktopTest::choose(std::string_view id) {
    nlohmann::json values{{"app.hasLaunched", true}, {"stall.selection", id}};
    for (const std::string_view other : {"sivrel", "mordan", "pintho", "rusket"}) { // on by themselves
        values["spice." + std::string(other) + ".enabled"] = false;
    }
    values["spice." + std::string(id) + ".enabled"] = true;
    settings.write(values);
}

Program& DesktopTest::start(const Program::Environment& changes) {
    Program::Environment all = changes;
    all.insert(environment.begin(), environment.end());
    return programs.emplace_back(std::vector<std::string>{ZORBEL_PROGRAM}, all);
}

std::optional<int> DesktopTest::end(Program& program) {
    program.send(SIGTERM);
    return program.waitForEnd();
}

Screen& DesktopTest::screen() {
    static Screen screen;
    return screen;
}

Reader& DesktopTest::reader() {
    static Reader reader;
    return reader;
}

QPoint DesktopTest::glass() const {
    EXPECT_TRUE(until([] { return findBar(screen()).has_value(); })) << "no bar";
    return glassOn(findBar(screen())).center();
}

bool DesktopTest::waitForPanel(bool isShown) const {
    return until([&] { return findPanel(screen()).has_value() == isShown; });
}

bool DesktopTest::waitForDashboard(bool isShown) const {
    return until([&] { return findDashboard(screen()).has_value() == isShown; });
}

std::optional<Node> DesktopTest::readPane(const std::string& name) const {
    std::optional<Node> pane;
    EXPECT_TRUE(until([&] { return (pane = reader().pane(name)).has_value(); }))
        << "nothing is read as " << name;
    return pane;
}

std::optional<Node> DesktopTest::openPanel() const {
    reader(); // follows the focus from now on
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
    return readPane("Zorbel panel");
}

std::optional<Node> DesktopTest::openDashboard() const {
    screen().click(glass(), XCB_BUTTON_INDEX_3);
    EXPECT_TRUE(waitForDashboard());
    screen().movePointer(nowhere);
    return readPane("Dashboard");
}

std::optional<Node> DesktopTest::shown(const std::string& paneName, const std::string& name,
                                       std::optional<AtspiRole> role) {
    const auto pane = reader().pane(paneName);
    const auto node = pane ? pane->find(name, role) : std::nullopt;
    return node && node->is(ATSPI_STATE_SHOWING) ? node : std::nullopt;
}

bool DesktopTest::says(const std::string& paneName, const std::string& text) {
    return until([&] { return shown(paneName, text).has_value(); });
}

bool DesktopTest::click(const std::string& paneName, const std::string& name,
                        std::optional<AtspiRole> role) const {
    QRect place;
    const bool isThere = until([&] {
        const auto pane = reader().pane(paneName);
        const auto node = pane ? pane->find(name, role) : std::nullopt;
        place = node && node->is(ATSPI_STATE_SHOWING) ? node->frame() : QRect();
        return !place.isEmpty();
    });
    if (isThere) {
        screen().click(place.center());
    }
    return isThere;
}

bool DesktopTest::waitForSetting(const std::string& key, const nlohmann::json& value) const {
    return until([&] { return settings.read().value(key, nlohmann::json()) == value; });
}

} // namespace Desktop
