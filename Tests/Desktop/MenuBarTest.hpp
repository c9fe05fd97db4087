#pragma once

#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/TrayProgram.hpp"

#include <QStringList>

namespace Desktop {

// Plain colours of icons, none near another or near the bar's own.
inline constexpr QColor azure(0x10, 0x80, 0xFF);
inline constexpr QColor lime(0x40, 0xD0, 0x20);
inline constexpr QColor pink(0xFF, 0x20, 0xA0);
inline constexpr QColor cyan(0x00, 0xE0, 0xE0);
inline constexpr QColor violet(0x80, 0x20, 0xE0);
inline constexpr QColor red(0xFF, 0x00, 0x00); // of the program with an icon window

inline constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
inline constexpr int iconWidth = 28; // points that an icon takes on the bar
inline constexpr int iconSide = 22;  // of the picture in it

/// A test of Zorbel's own bar with icons of other programs on it. The divider stays as it is left.
class MenuBarTest : public DesktopTest {
protected:
    MenuBarTest();

    /// Starts Zorbel and waits until its bar shows and takes registrations.
    Program& startBar(const Program::Environment& changes = {});

    /// What Zorbel starts from besides having been launched before.
    void set(const std::string& key, const nlohmann::json& value);

    /// The watcher's properties, asked as any program would.
    static QVariant watcherProperty(const QString& name);
    static QStringList listed();
    static bool hasWatcher();
    static QString watcherOwner(); // the connection's own name; empty where there is none

    /// Where an icon of this colour is drawn on the bar, on the screen; empty where it is not.
    static QRect icon(QColor colour);
    static bool waitForIcon(QColor colour, bool isShown = true);
    static bool isNeverSeen(QColor colour, Seconds duration);

    /// The icons of these colours on the bar, from left to right, as numbers into the list.
    static std::vector<std::size_t> row(const std::vector<QColor>& colours);

    /// Where the divider and the nth other icon, counted from the right, lie while everything is where it was
    /// first put.
    static QRect dividerCell();
    static QRect cell(int number);

    /// Whether an icon comes to lie between the divider and the glass.
    static bool waitForRightOfDivider(QColor colour);

    /// Clicks the divider in its first place, and waits until these icons are out of sight, or back.
    static bool toggle(const std::vector<QColor>& left, bool isShown);

    /// The menu that opens when `act` is done; none where none does.
    static std::optional<Window> openedMenu(const std::function<void()>& act);
    static bool waitForMenuGone(const Window& menu);

    /// An entry of the open menu or of its submenu, as a screen reader tells it; the pointer has to be in the
    /// menu. None where none such is shown.
    static std::optional<Node> entry(const std::string& name);

    /// Moves the pointer to an entry of the open menu, and clicks it.
    static bool point(const Window& menu, const std::string& name);
    static bool choose(const Window& menu, const std::string& name);

    /// Whether a program says this in a line of its own.
    static bool says(Program& program, const std::string& line);

    /// Keeps a picture of a part of the screen for people to look at.
    static void keepPicture(const QRect& part, const char* name);
};

/// The menus with which a right click is answered: "Open", "Awake" with a check mark, "More" ▸ "Deep",
/// "Leave".
std::vector<TrayMenuDoubleEntry> usualMenu();

} // namespace Desktop
