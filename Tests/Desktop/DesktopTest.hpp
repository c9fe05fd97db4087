#pragma once

#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/Reader.hpp"

#include <gtest/gtest.h>

#include <deque>
#include <string_view>

namespace Desktop {

/// A test that starts Zorbel with settings of its own on the session's screen. Whatever it leaves running is
/// asked to end, and has to do so in good order.
class DesktopTest : public testing::Test {
protected:
    DesktopTest();
    ~DesktopTest() override;

    void TearDown() override;

    /// Writes settings with this spice alone on, and its page chosen in the dashboard.
    void choose(std::string_view id);

    /// Starts Zorbel. It has been launched before, unless the test has written other settings.
    Program& start(const Program::Environment& changes = {});

    /// Asks a Zorbel to end and waits for it; the exit status.
    static std::optional<int> end(Program& program);

    static Screen& screen();
    static Reader& reader();

    /// The middle of the glass on Zorbel's own bar, once it is there.
    QPoint glass() const;

    bool waitForPanel(bool isShown = true) const;
    bool waitForDashboard(bool isShown = true) const;

    /// Click on the glass and wait: what they open, as a screen reader tells it.
    std::optional<Node> openPanel() const;
    std::optional<Node> openDashboard() const;

    /// A pane, once it can be read.
    std::optional<Node> readPane(const std::string& name) const;

    /// What is read out in a pane under this name, if it is in sight; and whether it comes in sight.
    static std::optional<Node> shown(const std::string& paneName, const std::string& name,
                                     std::optional<AtspiRole> role = std::nullopt);
    static bool says(const std::string& paneName, const std::string& text);

    /// Clicks the middle of what is read out under this name, once it is there.
    bool click(const std::string& paneName, const std::string& name,
               std::optional<AtspiRole> role = std::nullopt) const;

    /// What an own setting must become.
    bool waitForSetting(const std::string& key, const nlohmann::json& value) const;

    Settings settings;
    Program::Environment environment; // for every start of this test
    std::deque<Program> programs;     // all that were started
};

/// A place on the bare desktop, away from everything.
inline constexpr QPoint nowhere{60, 760};

} // namespace Desktop
