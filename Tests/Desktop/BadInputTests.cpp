#include "Tests/Desktop/DesktopTest.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

using namespace Desktop;
namespace fs = std::filesystem;

namespace {

/// The one thing beside the settings that was set aside; empty where there is none, or more than one.
fs::path setAside(const Settings& settings) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(settings.file().parent_path())) {
        if (entry.path().filename().string().starts_with("settings.json.damaged-")) {
            found.push_back(entry.path());
        }
    }
    return found.size() == 1 ? found.front() : fs::path();
}

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

class BadInput : public DesktopTest {
protected:
    /// Defaults are in force: a first launch, with the four spices of the first batch on.
    void expectDefaults() {
        ASSERT_TRUE(until([] { return findWelcome(screen()).has_value(); })) << programs.back().output();
        const auto panel = openPanel();
        ASSERT_TRUE(panel);
        for (const auto* name : {"Sivrel", "Mordan", "Pintho", "Rusket"}) {
            EXPECT_TRUE(panel->find(name)) << name;
        }
    }
};

TEST_F(BadInput, NoDisplayIsOneClearLine) {
    struct Row {
        const char* name;
        std::optional<std::string> display;
        std::optional<std::string> authority;
    };
    const TemporaryFolder folder;
    const fs::path rubbish = folder.path() / "rubbish";
    std::ofstream(rubbish) << "\x01\xFF rubbish";
    const Row rows[] = {{"not set", std::nullopt, std::nullopt},
                        {"empty", "", std::nullopt},
                        {"nobody there", ":987", std::nullopt},
                        {"nobody there, rubbish for a key", ":987", rubbish.string()},
                        {"no display's name", "%s%n", std::nullopt}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Program& zorbel = start({{"DISPLAY", row.display}, {"XAUTHORITY", row.authority}});
        EXPECT_EQ(zorbel.waitForEnd(), 1);
        const std::string said = zorbel.output();
        EXPECT_TRUE(said.starts_with("zorbel: ")) << said;
        EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
        EXPECT_TRUE(said.ends_with('\n')) << said;
    }
}

TEST_F(BadInput, RubbishForAKeyIsIgnoredWhereTheServerWantsNone) {
    const TemporaryFolder folder;
    std::ofstream(folder.path() / "rubbish") << "\x01\xFF rubbish";
    start({{"XAUTHORITY", (folder.path() / "rubbish").string()}});
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
}

TEST_F(BadInput, WithoutABusTheBarWorks) {
    struct Row {
        const char* name;
        std::optional<std::string> address;
    };
    const Row rows[] = {{"not set", std::nullopt},
                        {"nobody there", "unix:path=/nonexistent/bus"},
                        {"no address", "rubbish"},
                        {"empty", ""}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TemporaryFolder runtime;
        Program& zorbel =
            start({{"DBUS_SESSION_BUS_ADDRESS", row.address}, {"XDG_RUNTIME_DIR", runtime.path().string()}});
        const QPoint place = glass();
        screen().click(place);
        EXPECT_TRUE(waitForPanel());
        screen().click(place);
        EXPECT_TRUE(waitForPanel(false));
        screen().click(place, XCB_BUTTON_INDEX_3);
        EXPECT_TRUE(waitForDashboard());
        EXPECT_EQ(end(zorbel), 0) << zorbel.output();
        EXPECT_TRUE(until([] { return !findBar(screen()); }));
    }
}

TEST_F(BadInput, DamagedSettingsAreSetAsideAndDefaultsApply) {
    struct Row {
        const char* name;
        std::string text;
    };
    const Row rows[] = {{"cut off", R"({"app.hasLaunched": true, "spice.rus)"},
                        {"empty", ""},
                        {"binary", std::string("\0\x01\xFF{}\0", 6)},
                        {"no object", "[true]"},
                        {"bottomless", std::string(200000, '[')}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        settings.writeText(row.text);
        Program& zorbel = start();
        expectDefaults();
        const fs::path aside = setAside(settings);
        ASSERT_FALSE(aside.empty());
        EXPECT_TRUE(contents(aside) == row.text);
        EXPECT_NE(zorbel.output().find(aside.string()), std::string::npos) << zorbel.output();
        EXPECT_EQ(end(zorbel), 0) << zorbel.output();
        EXPECT_EQ(settings.read().value("spice.rusket.enabled", false), true);
        fs::remove(aside);
    }
}

TEST_F(BadInput, FolderInPlaceOfTheSettingsIsSetAside) {
    fs::remove(settings.file());
    fs::create_directories(settings.file());
    std::ofstream(settings.file() / "kept") << "kept";
    Program& zorbel = start();
    expectDefaults();
    const fs::path aside = setAside(settings);
    ASSERT_FALSE(aside.empty());
    EXPECT_EQ(contents(aside / "kept"), "kept");
    EXPECT_NE(zorbel.output().find("damaged"), std::string::npos) << zorbel.output();
    EXPECT_EQ(end(zorbel), 0);
    EXPECT_EQ(settings.read().value("spice.rusket.enabled", false), true);
}

TEST_F(BadInput, ValuesOfTheWrongTypeCountAsNone) {
    nlohmann::json values{
        {"app.hasLaunched", 1}, {"stall.selection", 42}, {"steam.alwaysOn", nlohmann::json::array()}};
    for (const auto* id : {"sivrel", "mordan", "pintho", "rusket", "wendrel", "duvesk", "fotrel", "hushel",
                           "tonvik", "ledgra"}) {
        values[std::string("spice.") + id + ".enabled"] = "yes";
    }
    settings.write(values);
    Program& zorbel = start();
    expectDefaults();
    EXPECT_TRUE(setAside(settings).empty());
    EXPECT_EQ(end(zorbel), 0) << zorbel.output();
}

TEST_F(BadInput, SettingsThatCannotBeStoredLastForTheRun) {
    fs::remove_all(settings.file().parent_path());
    std::ofstream(settings.folder() / "zorbel") << "a file where the folder should be";
    Program& zorbel = start();
    expectDefaults();
    EXPECT_TRUE(until([&] { return zorbel.output().find("cannot be stored") != std::string::npos; }))
        << zorbel.output();
    EXPECT_EQ(std::ranges::count(zorbel.output(), '\n'), 1) << zorbel.output();
    EXPECT_EQ(end(zorbel), 0);
    EXPECT_EQ(contents(settings.folder() / "zorbel"), "a file where the folder should be");
}

TEST_F(BadInput, FullDiskDoesNotEndIt) {
    settings.write({{"app.hasLaunched", true}});
    const std::string before = contents(settings.file());
    Program& zorbel = programs.emplace_back(std::vector<std::string>{ZORBEL_PROGRAM}, environment, rlim_t{0});
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
    EXPECT_TRUE(until([&] { return zorbel.output().find("cannot be stored") != std::string::npos; }))
        << zorbel.output();
    EXPECT_EQ(end(zorbel), 0) << zorbel.output();
    EXPECT_EQ(contents(settings.file()), before);
}

TEST_F(BadInput, WithoutAHomeItLeavesNoFilesBehind) {
    const TemporaryFolder place;
    const fs::path before = fs::current_path();
    fs::current_path(place.path()); // for the child; ours goes back at once
    Program& zorbel = start({{"XDG_CONFIG_HOME", std::nullopt}, {"HOME", std::nullopt}});
    fs::current_path(before);
    ASSERT_TRUE(until([] { return findWelcome(screen()).has_value(); })) << zorbel.output();
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
    EXPECT_EQ(end(zorbel), 0) << zorbel.output();
    EXPECT_TRUE(fs::is_empty(place.path())) << fs::directory_iterator(place.path())->path();
}

TEST_F(BadInput, SelectionOfAnUnknownSpiceLeavesThePageEmpty) {
    settings.write({{"app.hasLaunched", true}, {"stall.selection", "nutmeg"}});
    start();
    const auto dashboard = openDashboard();
    ASSERT_TRUE(dashboard);
    const auto rows = dashboard->all(ATSPI_ROLE_LIST_ITEM);
    EXPECT_EQ(rows.size(), 10U);
    for (const Node& row : rows) {
        EXPECT_FALSE(row.is(ATSPI_STATE_SELECTED)) << row.name();
    }
    EXPECT_TRUE(dashboard->all(ATSPI_ROLE_CHECK_BOX).empty());
    EXPECT_EQ(settings.read()["stall.selection"], "nutmeg");
}

TEST_F(BadInput, WithoutAnyPlaceForTheGlassTheDashboardOpens) {
    struct Row {
        const char* name;
        std::optional<std::string> bus;
    };
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    ASSERT_TRUE(address);
    const Row rows[] = {{"with a bus", address}, {"without a bus", std::nullopt}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TemporaryFolder runtime;
        const auto started = std::chrono::steady_clock::now();
        Program& zorbel = start({{"QT_QPA_PLATFORM", "offscreen"},
                                 {"DBUS_SESSION_BUS_ADDRESS", row.bus},
                                 {"XDG_RUNTIME_DIR", runtime.path().string()}});
        // Nobody can look at this screen. But the images of the dashboard's rows are the first that want the
        // plug-in for them, so it is loaded when the dashboard is painted.
        const auto maps = fs::path("/proc") / std::to_string(zorbel.pid()) / "maps";
        EXPECT_TRUE(until([&] { return contents(maps).find("libqsvg") != std::string::npos; }))
            << zorbel.output();
        EXPECT_GE(Seconds(std::chrono::steady_clock::now() - started), Seconds{4.5});
        EXPECT_TRUE(zorbel.isRunning()) << zorbel.output();
        EXPECT_EQ(end(zorbel), 0) << zorbel.output();
    }
}
