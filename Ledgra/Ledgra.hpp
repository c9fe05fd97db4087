#pragma once

#include "Ledgra/Staged.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Spice.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace Ledgra {

class ShelfPanel;

/// A strip at the top of the screen on which files wait on their way somewhere else. It holds references:
/// nothing is copied or moved. Main thread only.
class LedgraSpice : public ZorbelKit::Spice {
public:
    static constexpr std::size_t mostStaged = 12;

    /// What it asks of the system.
    struct Services {
        const ZorbelKit::Clock& clock;
        ZorbelKit::Defaults& defaults;
        const ZorbelKit::Screens& screens;
        ZorbelKit::FileManager& fileManager;
        ZorbelKit::FloatingPanels& panels;
        ParkedFiles& files;
    };

    /// Builds and shows the shelf where it is wanted, although the spice is off.
    explicit LedgraSpice(Services services);
    ~LedgraSpice() override;

    void steep() override;
    void rest() override; // the files stay on the shelf
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    /// Whether the shelf is on the screen while the spice is on. Stored.
    bool showShelf() const { return showShelf_.get(); }
    void setShowShelf(bool show);

    const std::vector<Staged>& staged() const { return staged_.get(); } // the oldest first

    /// Of all files on the shelf; asks the disk at every call.
    std::int64_t totalBytes() const;

    /// Parks files in this order: one that is there already is left out, and the newest twelve stay. Paths
    /// are absolute.
    void stage(const std::vector<std::filesystem::path>& urls);

    /// The same for later, when whoever brought the files has had his answer; nothing once the spice is gone.
    std::function<void(const std::vector<std::filesystem::path>& urls)> staging();

    void remove(const Staged& item);
    void clear();
    void reveal(const Staged& item);

    /// Says before long whether the file is still there, unless its disk does not answer.
    void look(const Staged& item, std::function<void(bool isThere)> answer);

private:
    void present();
    ZorbelKit::AnyView shelf(); // the strip's content

    Services services_;
    ZorbelKit::Published<std::vector<Staged>> staged_{*this};
    ZorbelKit::Published<bool> showShelf_{*this};
    std::unique_ptr<ShelfPanel> panel_;
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Ledgra
