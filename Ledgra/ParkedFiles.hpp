#pragma once

#include "ZorbelKit/Observable.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ledgra {

/// What stands for a file on the screen. It is there at once, and becomes a better one when the disk has
/// been asked. Main thread only.
class FileIcon : public ZorbelKit::Observable {
public:
    struct Look {
        std::vector<std::string> names{}; // in the icon theme, the best first
        std::string thumbnail{};          // the bytes of a PNG; empty where there is none

        bool operator==(const Look&) const = default;
    };

    explicit FileIcon(Look look)
        : look_(*this, std::move(look)) {}

    const Look& look() const { return look_.get(); }
    void setLook(Look look) { look_.set(std::move(look)); }

private:
    ZorbelKit::Published<Look> look_;
};

/// What the shelf asks about files. Paths are bytes, absolute, and never followed where they are links. Main
/// thread only.
class ParkedFiles {
public:
    virtual ~ParkedFiles() = default;

    /// Of the file at this path as it is now, at once: no disk is waited for. The file may be missing.
    virtual std::shared_ptr<const FileIcon> icon(const std::filesystem::path& file) = 0;

    /// The bytes in these files together, never above the largest number. What is no regular file counts as
    /// nothing, and so does what cannot be read, or not within a moment: a disk far away may not answer at
    /// all.
    virtual std::int64_t totalBytes(const std::vector<std::filesystem::path>& files) const = 0;

    /// Says whether something is at this path: not within this call where a disk is asked, and never while
    /// that does not answer. What is not asked counts as being there.
    virtual void look(const std::filesystem::path& /*file*/, std::function<void(bool isThere)> answer) {
        answer(true);
    }
};

} // namespace Ledgra
