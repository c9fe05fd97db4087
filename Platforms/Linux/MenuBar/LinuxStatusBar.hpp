#pragma once

#include "Platforms/Linux/MenuBar/TrayHost.hpp"
#include "Platforms/Linux/MenuBar/TrayMode.hpp"
#include "Platforms/Linux/MenuBar/TrayWatch.hpp"
#include "Platforms/Linux/MenuBar/XEmbedTray.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"

#include <map>
#include <memory>
#include <vector>

namespace Linux {

class MenuBarWindow;
class TrayItemCell;
class XEmbedCell;

/// The menu bar of a Linux desktop: the desktop's own tray where one runs, else, or where the user prefers
/// it, a bar of the suite's own, which shows other programs' icons too. An item outlives every move between
/// the two; only its presentation is made anew.
class LinuxStatusBar : public ZorbelKit::StatusBar {
public:
    /// Programs that know the newer protocol see its watcher before the older one's tray: else they use both.
    static constexpr ZorbelKit::Seconds olderTrayDelay{1.5};

    LinuxStatusBar(ZorbelKit::MainLoop& loop, ZorbelKit::Defaults& defaults);
    ~LinuxStatusBar() override;

    std::unique_ptr<ZorbelKit::StatusItem> statusItem(double length, std::string autosaveName,
                                                      ZorbelKit::StatusItemKind kind) override;
    bool pushesOthers() const override { return mode_.place() == TrayPlace::bar; }
    bool isReachable() const override { return mode_.place() != TrayPlace::nowhere; }
    std::optional<bool> usesOwnBar() const override;
    void setUsesOwnBar(bool on) override;
    std::string arrangingHint() const override;
    ZorbelKit::Token onChange(std::function<void()> changed) override;

private:
    class Item;
    friend class Item;

    void trayAnswered(const ForeignTray& tray);
    void modeChanged();
    void gatherIcons();
    TrayHost::Role role() const;

    void itemChanged(TrayItem& item);
    void itemLeaves(TrayItem& item);
    void startOlderTray();
    void iconDocked(const XEmbedTray::Icon& icon);
    void iconChanged(const XEmbedTray::Icon& icon);
    void iconRemoved(XEmbedTray::IconId icon);
    bool isSpare(const XEmbedTray::Icon& icon) const;
    void showSpareIcons();

    MenuBarWindow& bar();
    std::string freeIdentity(const std::string& identity);
    void closeBar();

    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Defaults& defaults_;
    ZorbelKit::Changes changes_;
    bool prefersOwnBar_;
    TrayMode mode_;
    ForeignTray foreign_;
    TrayWatch watch_;
    bool isStarted_ = false;
    bool hasIconTheme_ = false; // chosen for the first icon of another program
    std::vector<Item*> items_;  // in order of creation
    std::unique_ptr<MenuBarWindow> bar_;
    std::map<TrayItem*, TrayItemCell*> trayCells_;          // owned by the bar
    std::map<XEmbedTray::IconId, XEmbedCell*> xembedCells_; // owned by the bar
    TrayHost host_;
    std::unique_ptr<XEmbedTray> olderTray_;
    ZorbelKit::Token olderTrayStart_;
    ZorbelKit::Token modeChanges_;
};

} // namespace Linux
