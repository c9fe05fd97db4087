#include "Platforms/Linux/AtomicFile.hpp"

#include "Platforms/Linux/SystemCalls.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <utility>

namespace Linux {

namespace {

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr int longestLinkChain = 40; // as the kernel counts

std::error_code lastError() {
    return {errno, std::generic_category()};
}

std::error_code makeFolder(const std::filesystem::path& folder) {
    const auto isThere = [&] { return ::mkdir(folder.c_str(), folderMode) == 0 || errno == EEXIST; };
    if (folder.empty() || isThere()) {
        return {};
    }
    if (errno != ENOENT || !folder.has_relative_path()) {
        return lastError();
    }
    if (const auto error = makeFolder(folder.parent_path())) {
        return error;
    }
    return isThere() ? std::error_code() : lastError();
}

/// A new file beside the one to be replaced; gone again unless `moveTo` took it there.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& file) {
        // A crash may have left a file of this name, and process ids come round again: such a file is passed
        // over.
        static std::atomic<unsigned> made{0};
        do {
            path_ = file.string() + "." + std::to_string(::getpid()) + "-" + std::to_string(++made) + ".tmp";
            descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode);
        } while (descriptor_ < 0 && (errno == EEXIST || errno == EINTR));
        if (descriptor_ < 0) {
            error_ = lastError();
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (descriptor_ < 0) {
            return;
        }
        ::close(descriptor_);
        if (!isMoved_) {
            ::unlink(path_.c_str());
        }
    }

    std::error_code fill(std::string_view contents) {
        const auto sync = [this] { return ::fsync(descriptor_); };
        if (!error_ && (!writeWhole(descriptor_, contents) || retried(sync) != 0)) {
            error_ = lastError();
        }
        return error_;
    }

    std::error_code moveTo(const std::filesystem::path& file) {
        isMoved_ = ::rename(path_.c_str(), file.c_str()) == 0;
        return isMoved_ ? std::error_code() : lastError();
    }

private:
    std::filesystem::path path_;
    int descriptor_ = -1;
    std::error_code error_;
    bool isMoved_ = false;
};

/// Makes the new name last through a power cut. Not every file system can, and the file is in place already,
/// so there is nothing to report.
void syncFolder(const std::filesystem::path& folder) {
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        ::fsync(descriptor);
        ::close(descriptor);
    }
}

} // namespace

std::filesystem::path behindLinks(std::filesystem::path file, std::error_code& error) {
    error.clear();
    for (int links = 0; links < longestLinkChain; ++links) {
        std::error_code isNoLink;
        const auto next = std::filesystem::read_symlink(file, isNoLink);
        if (isNoLink) {
            return file;
        }
        file = file.parent_path() / next; // an absolute `next` stands alone
    }
    error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    return file;
}

std::error_code writeAtomically(const std::filesystem::path& file, std::string_view contents) {
    std::error_code error;
    const auto place = behindLinks(file, error);
    if (!error) {
        error = makeFolder(place.parent_path());
    }
    if (error) {
        return error;
    }
    TemporaryFile temporary(place);
    if ((error = temporary.fill(contents)) || (error = temporary.moveTo(place))) {
        return error;
    }
    syncFolder(place.parent_path());
    return {};
}

} // namespace Linux
