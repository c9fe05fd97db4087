#pragma once

#include "ZorbelKit/Picture.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace ZorbelKit {

/// A picture that another program is about to write. Any thread, one at a time.
class ExpectedPicture {
public:
    virtual ~ExpectedPicture() = default;

    /// As `Pictures::read`, once the file is written. Called once.
    virtual std::optional<Picture> read() = 0;
};

/// Makes pictures of files and files of pictures. Any thread.
class Pictures {
public:
    virtual ~Pictures() = default;

    /// None where there is no PNG, not a whole one, or one that is larger than any screen.
    virtual std::optional<Picture> read(const std::filesystem::path& file) const = 0;

    /// The same, for a file that is written while others wait: where it can be, it is read meanwhile. `file`
    /// is there already. These pictures outlive what is returned.
    virtual std::unique_ptr<ExpectedPicture> expect(const std::filesystem::path& file) const;

    /// The same pixels as a PNG that takes little room, quickly made. The picture itself where it cannot be
    /// done.
    virtual Picture compacted(const Picture& picture) const = 0;

    /// An opaque black one in shades of grey.
    virtual Picture blank(int width, int height) const = 0;

    /// Writes a PNG, whole or not at all; what was there stays until it is written. False where it was not.
    virtual bool write(const Picture& picture, const std::filesystem::path& file) const = 0;

    /// A place for a file that lives for a moment and that no other user can read. What cannot be made ready
    /// there is found out by whoever writes.
    virtual std::filesystem::path temporaryFile(const std::string& name) const = 0;

    /// That there is none is no error.
    virtual void remove(const std::filesystem::path& file) const = 0;
};

inline std::unique_ptr<ExpectedPicture> Pictures::expect(const std::filesystem::path& file) const {
    class Later : public ExpectedPicture {
    public:
        Later(const Pictures& pictures, std::filesystem::path file)
            : pictures_(pictures)
            , file_(std::move(file)) {}
        std::optional<Picture> read() override { return pictures_.read(file_); }

    private:
        const Pictures& pictures_;
        std::filesystem::path file_;
    };
    return std::make_unique<Later>(*this, file);
}

} // namespace ZorbelKit
