#include "Ledgra/Ledgra.hpp"

#include "Ledgra/LedgraTexts.hpp"
#include "Ledgra/ShelfPanel.hpp"
#include "ZorbelKit/AnyView.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/Defaults.hpp"
#include "ZorbelKit/Host/FileManager.hpp"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Ledgra {

using namespace ZorbelKit;

namespace {

constexpr std::string_view showShelfKey = "ledgra.showShelf";

} // namespace

LedgraSpice::LedgraSpice(Services services)
    : Spice({.id = "ledgra",
             .name = "Ledgra",
             .role = "Notch Shelf",
             .summary = "A shelf under the notch to park files on their way somewhere else.",
             .reason = "Named for the ledge above the stove, where things wait for a moment on their "
                       "way to the table.",
             .wave = Wave::later})
    , services_(services) {
    setShowShelf(services_.defaults.boolean(showShelfKey).value_or(true));
}

LedgraSpice::~LedgraSpice() = default;

void LedgraSpice::steep() {
    if (showShelf()) {
        present();
    }
}

void LedgraSpice::rest() {
    if (panel_) {
        panel_->orderOut();
        panel_.reset();
    }
}

void LedgraSpice::setShowShelf(bool show) {
    showShelf_.set(show);
    services_.defaults.setBoolean(showShelfKey, show);
    if (show) {
        present();
    } else {
        rest();
    }
}

void LedgraSpice::present() {
    if (!isEnabled() && panel_) {
        return;
    }
    if (!panel_) {
        panel_ = std::make_unique<ShelfPanel>(services_.panels, services_.screens, shelf());
        panel_->position();
    }
    panel_->orderFrontRegardless();
}

std::int64_t LedgraSpice::totalBytes() const {
    std::vector<std::filesystem::path> urls;
    for (const Staged& item : staged()) {
        urls.push_back(item.url);
    }
    return services_.files.totalBytes(urls);
}

void LedgraSpice::stage(const std::vector<std::filesystem::path>& urls) {
    // Paths are compared by their bytes: "/a//b" is not taken for "/a/b".
    std::unordered_set<std::string_view> known;
    for (const Staged& item : staged()) {
        known.insert(item.url.native());
    }
    std::vector<const std::filesystem::path*> fresh;
    for (const std::filesystem::path& url : urls) {
        if (known.insert(url.native()).second) {
            fresh.push_back(&url);
        }
    }
    if (fresh.empty()) {
        return;
    }
    // Icons are made only of what will stay.
    const auto leaving = static_cast<std::ptrdiff_t>(fresh.size() - std::min(fresh.size(), mostStaged));
    std::vector<Staged> next = staged();
    for (auto url = fresh.begin() + leaving; url != fresh.end(); ++url) {
        next.push_back({.url = **url,
                        .name = nameOf(**url),
                        .icon = services_.files.icon(**url),
                        .addedAt = services_.clock.now()});
    }
    const auto tooMany = static_cast<std::ptrdiff_t>(next.size() - std::min(next.size(), mostStaged));
    next.erase(next.begin(), next.begin() + tooMany);
    staged_.set(std::move(next));
}

std::function<void(const std::vector<std::filesystem::path>& urls)> LedgraSpice::staging() {
    return lifetime_.guard([this](const std::vector<std::filesystem::path>& urls) { stage(urls); });
}

void LedgraSpice::remove(const Staged& item) {
    staged_.edit([id = item.id](std::vector<Staged>& staged) {
        std::erase_if(staged, [&](const Staged& each) { return each.id == id; });
    });
}

void LedgraSpice::clear() {
    staged_.set({});
}

void LedgraSpice::reveal(const Staged& item) {
    services_.fileManager.activateFileViewerSelecting({item.url});
}

void LedgraSpice::look(const Staged& item, std::function<void(bool isThere)> answer) {
    services_.files.look(item.url, std::move(answer));
}

} // namespace Ledgra
