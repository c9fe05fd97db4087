#include "Duvesk/Duvesk.hpp"

#include "ZorbelKit/ByteCount.hpp"
#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/FileManager.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace Duvesk {

using namespace ZorbelKit;

namespace {

/// Sum of the sizes of those that count.
template <class Counts>
std::int64_t bytesOf(const std::vector<Finding>& findings, Counts counts) {
    std::int64_t sum = 0;
    for (const Finding& finding : findings) {
        if (counts(finding)) {
            sum = checked::saturatingAdd(sum, finding.bytes);
        }
    }
    return sum;
}

bool isSelected(const Finding& finding) {
    return finding.selected;
}

} // namespace

DuveskSpice::DuveskSpice(MainLoop& loop, const Clock& clock, FileManager& files,
                         std::shared_ptr<const Scanner> scanner)
    : Spice(
          {.id = "duvesk",
           .name = "Duvesk",
           .role = "Storage & Uninstall",
           .summary = "Finds what is large, cached or left behind, and puts it in the Trash.",
           .reason =
               "Named for the sieve: the tea runs through, the spent leaves stay behind and are tipped out.",
           .wave = Wave::nextBatch})
    , loop_(loop)
    , clock_(clock)
    , files_(files)
    , scanner_(std::move(scanner)) {
}

void DuveskSpice::rest() {
    setFindings({});
    isScanning_.set(false);
}

void DuveskSpice::scan() {
    if (isScanning_.get()) {
        return;
    }
    isScanning_.set(true);
    setFindings({});
    scanned_.set(0);
    auto take = lifetime_.guard([this](std::vector<Finding> found) {
        setFindings(std::move(found));
        isScanning_.set(false);
    });
    loop_.background(Priority::utility, [scanner = scanner_, now = clock_.now(), &loop = loop_,
                                         take = std::move(take)]() mutable {
        loop.post([take = std::move(take), found = scanner->run(now)]() mutable { take(std::move(found)); });
    });
}

void DuveskSpice::toggle(const Finding& finding) {
    const auto found = std::ranges::find(findings_, finding.id, &Finding::id);
    if (found != findings_.end()) {
        found->selected = !found->selected;
        notify();
    }
}

void DuveskSpice::setAll(bool on) {
    bool hasChanged = false;
    for (Finding& finding : findings_) {
        if (isShown(finding) && finding.selected != on) {
            finding.selected = on;
            hasChanged = true;
        }
    }
    if (hasChanged) {
        notify();
    }
}

void DuveskSpice::clear() {
    std::vector<std::filesystem::path> paths;
    for (const Finding& finding : findings_) {
        if (finding.selected) {
            paths.push_back(finding.url);
        }
    }
    if (paths.empty()) {
        return;
    }
    auto forget =
        lifetime_.guard([this, asked = selectedBytes()](const std::vector<std::filesystem::path>& moved) {
            std::unordered_set<std::string> gone;
            for (const auto& path : moved) {
                gone.insert(path.native());
            }
            const auto isGone = [&](const Finding& finding) { return gone.contains(finding.url.native()); };
            if (std::erase_if(findings_, isGone) > 0) {
                notify();
            }
            lastReclaimed_.set(asked); // what was asked for, moved or not
        });
    files_.recycle(std::move(paths), [&loop = loop_, forget = std::move(forget)](auto moved) mutable {
        loop.post([forget = std::move(forget), moved = std::move(moved)]() mutable { forget(moved); });
    });
}

void DuveskSpice::reveal(const Finding& finding) {
    files_.activateFileViewerSelecting({finding.url});
}

std::vector<Finding> DuveskSpice::visible() const {
    std::vector<Finding> shown;
    std::ranges::copy_if(findings_, std::back_inserter(shown),
                         [this](const Finding& finding) { return isShown(finding); });
    std::ranges::stable_sort(shown, std::ranges::greater(), &Finding::bytes);
    return shown;
}

std::int64_t DuveskSpice::selectedBytes() const {
    return bytesOf(findings_, isSelected);
}

std::int64_t DuveskSpice::total(Kind kind) const {
    return bytesOf(findings_, [kind](const Finding& finding) { return finding.kind == kind; });
}

bool DuveskSpice::isShown(const Finding& finding) const {
    return !showing_.get() || finding.kind == *showing_.get();
}

void DuveskSpice::setFindings(std::vector<Finding> findings) {
    if (findings_ != findings) {
        findings_ = std::move(findings);
        notify();
    }
}

std::string asSize(std::int64_t bytes) {
    return byteCountText(bytes, CountStyle::file);
}

} // namespace Duvesk
