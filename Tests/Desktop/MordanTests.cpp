#include "Tests/Desktop/DesktopTest.hpp"

#include <QImage>
#include <X11/keysym.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace Desktop;

namespace {

const std::vector<std::string> mordanAlone{"sivrel", "pintho", "rusket"};

/// Programs that copy and paste, each until it is ended.
class Desk {
public:
    /// Copies with xclip; as plain text, or as the one format named.
    void copy(const std::string& content, const std::string& format = "UTF8_STRING") {
        const auto file = folder_.path() / std::to_string(copiers_.size());
        std::ofstream(file, std::ios::binary) << content;
        const auto before = Screen().selectionOwner("CLIPBOARD");
        copiers_.emplace_back(
            std::vector<std::string>{"xclip", "-quiet", "-selection", "clipboard", "-t", format, "-i", file.string()});
        ASSERT_TRUE(until([&] {
            const auto owner = Screen().selectionOwner("CLIPBOARD");
            return owner != XCB_NONE && owner != before;
        })) << copiers_.back().output();
    }

    /// Copies with a program made with Qt: "text/plain=Tea".
    void copyAsQt(std::vector<std::string> formats) {
        formats.insert(formats.begin(), QT_COPY_PROGRAM);
        Program& program = copiers_.emplace_back(formats, unread());
        ASSERT_TRUE(until([&] { return program.output().starts_with("ready"); })) << program.output();
    }

    /// What another program gets when it pastes; as text, or as the format named.
    static std::string paste(const std::string& format = "UTF8_STRING") {
        Program reader({"xclip", "-o", "-selection", "clipboard", "-t", format});
        EXPECT_TRUE(reader.waitForEnd());
        return reader.output();
    }

    const std::filesystem::path& folder() const { return folder_.path(); }
    Program& last() { return copiers_.back(); }

private:
    Folder folder_;
    std::deque<Program> copiers_;
};

} // namespace

/// The whole program with the clipboard's spice alone.
class Mordan : public DesktopTest {
protected:
    Mordan() {
        nlohmann::json values{{"app.hasLaunched", true}, {"spice.mordan.enabled", true}, {"stall.selection", "mordan"}};
        for (const std::string& id : mordanAlone) {
            values["spice." + id + ".enabled"] = false;
        }
        settings.write(values);
    }

    /// The entries that a pane lists, from top to bottom, as a screen reader tells them.
    static std::vector<std::string> entries(const std::string& paneName) {
        std::vector<std::string> names;
        const auto pane = reader().pane(paneName);
        const auto list = pane ? pane->find("Clipboard history") : std::nullopt;
        for (const Node& row : list ? list->all(ATSPI_ROLE_LIST_ITEM) : std::vector<Node>()) {
            names.push_back(row.name());
        }
        return names;
    }

    static bool lists(const std::vector<std::string>& wanted, const std::string& pane = "Dashboard") {
        return until([&] { return entries(pane) == wanted; });
    }

    static std::string listed(const std::string& pane = "Dashboard") {
        std::string text;
        for (const std::string& name : entries(pane)) {
            text += "[" + name + "]";
        }
        return text;
    }

    bool says(const std::string& text) const {
        return until([&] {
            const auto pane = reader().pane("Dashboard");
            return pane && pane->find(text).has_value();
        });
    }

    static void type(const std::string& text) {
        for (const char character : text) {
            screen().press(static_cast<xcb_keysym_t>(character));
        }
    }

    static void pressWith(xcb_keysym_t held, xcb_keysym_t key) {
        screen().setKeyDown(held, true);
        screen().press(key);
        screen().setKeyDown(held, false);
    }

    Desk desk;
};
