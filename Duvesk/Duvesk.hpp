#pragma once

#include "Duvesk/Finding.hpp"
#include "Duvesk/Scanner.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Spice.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Duvesk {

/// Finds space the user can give back and moves what the user picks to the Trash. It does nothing by itself:
/// scans and moves are asked for. Nothing is stored. Main thread only.
class DuveskSpice : public ZorbelKit::Spice {
public:
    static constexpr std::int64_t largeFileFloor = Scanner::largeFileFloor; // a large file has more bytes

    DuveskSpice(ZorbelKit::MainLoop& loop, const ZorbelKit::Clock& clock, ZorbelKit::FileManager& files,
                std::shared_ptr<const Scanner> scanner);

    void steep() override {}
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    /// Starts a scan off the main thread; not while one runs. One that runs cannot be stopped: its result
    /// arrives even when the spice is off by then.
    void scan();

    void toggle(const Finding& finding);
    void setAll(bool on); // of the kind that is shown
    void clear();         // moves what is selected to the Trash
    void reveal(const Finding& finding);

    const std::vector<Finding>& findings() const { return findings_; } // largest first
    bool isScanning() const { return isScanning_.get(); }
    std::int64_t scanned() const { return scanned_.get(); }             // always 0
    std::int64_t lastReclaimed() const { return lastReclaimed_.get(); } // bytes that were asked to be moved
    std::optional<Kind> showing() const { return showing_.get(); }      // none: every kind
    void setShowing(std::optional<Kind> kind) { showing_.set(kind); }

    /// What is shown, largest first; equal sizes as they were found.
    std::vector<Finding> visible() const;
    std::int64_t selectedBytes() const; // of all kinds
    std::int64_t total(Kind kind) const;

private:
    bool isShown(const Finding& finding) const;
    void setFindings(std::vector<Finding> findings);

    ZorbelKit::MainLoop& loop_;
    const ZorbelKit::Clock& clock_;
    ZorbelKit::FileManager& files_;
    std::shared_ptr<const Scanner> scanner_;
    std::vector<Finding> findings_; // changed in place: a tick among thousands copies none of them
    ZorbelKit::Published<bool> isScanning_{*this, false};
    ZorbelKit::Published<std::int64_t> scanned_{*this, 0};
    ZorbelKit::Published<std::int64_t> lastReclaimed_{*this, 0};
    ZorbelKit::Published<std::optional<Kind>> showing_{*this};
    ZorbelKit::Lifetime lifetime_;
};

/// Megabytes or gigabytes, in decimal.
std::string asSize(std::int64_t bytes);

} // namespace Duvesk
