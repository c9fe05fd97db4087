#include "Platforms/Linux/Capture/LinuxPictures.hpp"

#include "Platforms/Linux/FileHandle.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"
#include "Platforms/Qt/PictureIntake.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

using ZorbelKit::Picture;
namespace fs = std::filesystem;

namespace {

/// Follows a file that grows. What is not as it should be at the end (another file in its place, bytes that
/// have gone again) is read from the beginning.
class GrowingPicture : public ZorbelKit::ExpectedPicture {
public:
    GrowingPicture(const LinuxPictures& pictures, fs::path file)
        : pictures_(pictures)
        , path_(std::move(file))
        , file_(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW))
        , changes_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
        , end_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!isRegular() || !changes_ || !end_ ||
            ::inotify_add_watch(changes_.get(), path_.c_str(), IN_MODIFY) < 0) {
            return;
        }
        try {
            const WithoutSignals quiet;
            follower_ = std::thread([this] { follow(); });
        } catch (const std::system_error&) {
            // There is no thread to be had: it is read at the end.
        }
    }
    ~GrowingPicture() override { stop(); }

    std::optional<Picture> read() override {
        if (!follower_.joinable()) {
            return pictures_.read(path_);
        }
        stop();
        takeAll();
        return isUnbroken() ? intake_.picture() : pictures_.read(path_);
    }

private:
    bool isRegular() const {
        struct stat status {};
        return file_ && ::fstat(file_.get(), &status) == 0 && S_ISREG(status.st_mode);
    }

    /// Whether what was taken is all there is at that place.
    bool isUnbroken() const {
        struct stat opened {};
        struct stat there {};
        return ::fstat(file_.get(), &opened) == 0 && ::lstat(path_.c_str(), &there) == 0 &&
               opened.st_dev == there.st_dev && opened.st_ino == there.st_ino &&
               opened.st_size == intake_.taken();
    }

    void follow() {
        std::array<pollfd, 2> waits{{{changes_.get(), POLLIN, 0}, {end_.get(), POLLIN, 0}}};
        while (!intake_.isRefused() && ::poll(waits.data(), waits.size(), -1) > 0 && waits[1].revents == 0) {
            std::array<char, 4096> events; // NOLINT(*-member-init): that there are some is all they tell
            while (::read(changes_.get(), events.data(), events.size()) > 0) {
            }
            takeAll();
        }
    }

    void takeAll() {
        std::array<char, QtPlatform::PictureIntake::piece>
            bytes; // NOLINT(*-member-init): filled by what is read
        while (!intake_.isRefused()) {
            const ssize_t count = ::read(file_.get(), bytes.data(), bytes.size());
            if (count <= 0) {
                return;
            }
            intake_.add({bytes.data(), static_cast<std::size_t>(count)});
        }
    }

    void stop() {
        if (follower_.joinable()) {
            const std::uint64_t one = 1;
            static_cast<void>(::write(end_.get(), &one, sizeof one));
            follower_.join();
        }
    }

    const LinuxPictures& pictures_;
    const fs::path path_;
    const FileHandle file_;
    const FileHandle changes_;
    const FileHandle end_;
    QtPlatform::PictureIntake intake_; // the follower's until that has ended
    std::thread follower_;
};

} // namespace

std::unique_ptr<ZorbelKit::ExpectedPicture> LinuxPictures::expect(const fs::path& file) const {
    return std::make_unique<GrowingPicture>(*this, file);
}

} // namespace Linux
