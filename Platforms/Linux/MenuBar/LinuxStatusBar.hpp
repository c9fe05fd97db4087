#pragma once

#include "Platforms/Linux/MenuBar/TrayMode.hpp"
#include "Platforms/Linux/MenuBar/TrayWatch.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"

#include <QColor>

#include <memory>
#include <vector>

namespace Linux {

class MenuBarWindow;

/// The menu bar of a Linux desktop: the desktop's own tray where one runs, else a bar of the suite's own. An
/// item outlives every move between the two; only its presentation is made anew.
class LinuxStatusBar : public ZorbelKit::StatusBar {
public:
    explicit LinuxStatusBar(ZorbelKit::MainLoop& loop);
    ~LinuxStatusBar() override;

    std::unique_ptr<ZorbelKit::StatusItem> statusItem(double length, std::string autosaveName,
                                                      ZorbelKit::StatusItemKind kind) override;
    bool pushesOthers() const override { return mode_.place() == TrayPlace::bar; }
    bool isReachable() const override { return mode_.place() != TrayPlace::nowhere; }
    std::optional<bool> usesOwnBar() const override { return std::nullopt; }
    void setUsesOwnBar(bool) override {}
    std::string arrangingHint() const override {
        return "On this keyboard, ⌘ is the Super key; Ctrl does the same.";
    }
    ZorbelKit::Token onChange(std::function<void()> changed) override;

private:
    class Item;
    friend class Item;

    void placeChanged();
    void hostAnswered(bool hostRuns);
    MenuBarWindow& bar();

    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Changes changes_;
    TrayMode mode_;
    TrayWatch watch_;
    bool isStarted_ = false;
    std::vector<Item*> items_; // in order of creation
    std::unique_ptr<MenuBarWindow> bar_;
    ZorbelKit::Token placeChanges_;
};

} // namespace Linux
