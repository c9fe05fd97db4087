#include "Platforms/Linux/Shelf/FileLook.hpp"

#include "Platforms/Linux/FileHandle.hpp"

#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QImageReader>
#include <QMimeDatabase>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace Linux {

using Look = Ledgra::FileIcon::Look;
namespace fs = std::filesystem;

namespace {

constexpr std::int64_t mostThumbnail = 4 << 20; // bytes of a file in the thumbnail folder
constexpr std::int64_t mostPicture = 8 << 20;   // bytes of a picture that is made small here
constexpr std::int64_t mostPixels = 24'000'000; // of either
constexpr int thumbnailSide = 160;              // pixels: forty points on the finest screen, and some more
constexpr std::array folders{"large", "x-large", "normal"}; // 256, 512 and 128 pixels

constexpr std::array<std::string_view, 6> pictureFormats{"png", "jpeg", "jpg", "webp", "gif", "bmp"};

// Types that carry no drawing of their own.
constexpr const char* unknownType = "application/octet-stream";

std::optional<struct statx> statusOf(const fs::path& file) {
    struct statx status {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    const unsigned int wanted = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME;
    return ::statx(AT_FDCWD, file.c_str(), flags, wanted, &status) == 0 ? std::optional(status)
                                                                        : std::nullopt;
}

QMimeType typeByName(const fs::path& file) {
    static const QMimeDatabase types;
    return types.mimeTypeForFile(QFile::decodeName(file.filename().c_str()), QMimeDatabase::MatchExtension);
}

Look lookOf(const QMimeType& type) {
    return {.names = {type.iconName().toStdString(), type.genericIconName().toStdString(), "text-x-generic"}};
}

/// A regular file and nothing else: opening some others blocks, or does something. No link is followed.
FileHandle openRegular(const fs::path& path, std::int64_t most, std::optional<uid_t> owner) {
    FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW));
    struct stat status {};
    const bool isWanted = file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                          status.st_size <= most && (!owner || status.st_uid == *owner);
    return isWanted ? std::move(file) : FileHandle();
}

/// No more than `most`, however much it grows meanwhile; empty where it cannot be read.
QByteArray read(const FileHandle& file, std::int64_t most) {
    QByteArray bytes;
    constexpr qsizetype step = 256 * 1024;
    while (bytes.size() < most) {
        const qsizetype before = bytes.size();
        bytes.resize(before + step);
        const ssize_t count = ::read(file.get(), bytes.data() + before, static_cast<std::size_t>(step));
        bytes.resize(before + std::max<ssize_t>(count, 0));
        if (count == 0) {
            return bytes;
        }
        if (count < 0 && errno != EINTR) {
            return {};
        }
    }
    return {};
}

bool isAcceptable(const QSize& size) {
    return !size.isEmpty() && qint64{size.width()} * size.height() <= mostPixels;
}

/// Made small, as PNG; empty where there is no image.
std::string smallPng(QImage image) {
    if (image.isNull()) {
        return {};
    }
    if (image.width() > thumbnailSide || image.height() > thumbnailSide) {
        const QSize size = image.size().scaled(thumbnailSide, thumbnailSide, Qt::KeepAspectRatio);
        image = image.scaled(size.expandedTo(QSize(1, 1)), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    QBuffer png;
    png.open(QIODevice::WriteOnly);
    return image.save(&png, "png") ? png.data().toStdString() : std::string();
}

fs::path thumbnailFolder() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    if (cache && *cache == '/') {
        return fs::path(cache) / "thumbnails";
    }
    const char* home = std::getenv("HOME");
    return fs::path(home ? home : "/") / ".cache/thumbnails";
}

/// The one that the desktop keeps of this file as it is now; empty where it keeps none.
std::string keptThumbnail(const fs::path& file, std::int64_t modified) {
    const std::string uri = thumbnailUri(file);
    const QByteArray hash = QCryptographicHash::hash(
        QByteArray::fromRawData(uri.data(), static_cast<qsizetype>(uri.size())), QCryptographicHash::Md5);
    const std::string name = hash.toHex().toStdString() + ".png";
    for (const char* folder : folders) {
        const FileHandle handle = openRegular(thumbnailFolder() / folder / name, mostThumbnail, ::geteuid());
        if (!handle) {
            continue;
        }
        QByteArray bytes = read(handle, mostThumbnail + 1);
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer, "png");
        reader.setAutoDetectImageFormat(false);
        if (!isAcceptable(reader.size())) {
            continue;
        }
        const QImage image = reader.read();
        if (!image.isNull() && image.text("Thumb::URI").toStdString() == uri &&
            image.text("Thumb::MTime").toLongLong() == modified) {
            return smallPng(image);
        }
    }
    return {};
}

std::string pictureMadeSmall(const fs::path& file) {
    const FileHandle handle = openRegular(file, mostPicture, std::nullopt);
    if (!handle) {
        return {};
    }
    QByteArray bytes = read(handle, mostPicture + 1);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QByteArray format = QImageReader::imageFormat(&buffer);
    if (std::ranges::find(pictureFormats,
                          std::string_view(format.constData(), static_cast<std::size_t>(format.size()))) ==
        pictureFormats.end()) {
        return {};
    }
    QImageReader reader(&buffer, format);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!isAcceptable(size)) {
        return {};
    }
    // The quick way to twice the size where there is one, and from there with care.
    const QSize wanted = size.scaled(2 * thumbnailSide, 2 * thumbnailSide, Qt::KeepAspectRatio);
    if (wanted.width() < size.width()) {
        reader.setScaledSize(wanted.expandedTo(QSize(1, 1)));
    }
    return smallPng(reader.read());
}

Look lookOfFile(const fs::path& file, const struct statx& status) {
    const QMimeType type = typeByName(file);
    Look look = lookOf(type);
    if (type.name() == QLatin1String(unknownType)) {
        const bool isProgram = (status.stx_mode & 0111) != 0;
        look.names.insert(look.names.begin(), isProgram ? "application-x-executable" : "text-x-generic");
    }
    look.thumbnail = keptThumbnail(file, status.stx_mtime.tv_sec);
    const auto size = static_cast<std::int64_t>(status.stx_size);
    if (look.thumbnail.empty() && size <= mostPicture && type.name().startsWith("image/")) {
        look.thumbnail = pictureMadeSmall(file);
    }
    return look;
}

/// A link looks like what its name says: it is not asked where it leads.
Look lookOfLink(const fs::path& file) {
    const QMimeType type = typeByName(file);
    Look look = lookOf(type);
    if (type.name() == QLatin1String(unknownType)) {
        look.names = {"inode-symlink", "emblem-symbolic-link", "text-x-generic"};
    }
    return look;
}

} // namespace

std::string thumbnailUri(const fs::path& file) {
    constexpr std::string_view plain = "!$&'()*+,-./:=@_~"; // beside letters and digits
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string uri = "file://";
    for (const char byte : file.native()) {
        const char small = static_cast<char>(byte | 0x20);
        const bool isPlain = (small >= 'a' && small <= 'z') || (byte >= '0' && byte <= '9') ||
                             plain.find(byte) != std::string_view::npos;
        if (isPlain) {
            uri += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            uri += {'%', digits[value >> 4U], digits[value & 0xFU]};
        }
    }
    return uri;
}

Look lookByName(const fs::path& file) {
    return lookOf(typeByName(file));
}

std::optional<Look> lookOnDisk(const fs::path& file) {
    const auto status = statusOf(file);
    if (!status) {
        return std::nullopt;
    }
    switch (status->stx_mode & S_IFMT) {
    case S_IFREG:
        return lookOfFile(file, *status);
    case S_IFDIR:
        return Look{.names = {"folder", "inode-directory"}};
    case S_IFLNK:
        return lookOfLink(file);
    case S_IFIFO:
        return Look{.names = {"inode-fifo", "text-x-generic"}};
    case S_IFSOCK:
        return Look{.names = {"inode-socket", "text-x-generic"}};
    case S_IFCHR:
        return Look{.names = {"inode-chardevice", "text-x-generic"}};
    case S_IFBLK:
        return Look{.names = {"inode-blockdevice", "text-x-generic"}};
    default:
        return std::nullopt;
    }
}

std::int64_t sizeOnDisk(const fs::path& file) {
    const auto status = statusOf(file);
    return status && S_ISREG(status->stx_mode) ? static_cast<std::int64_t>(status->stx_size) : 0;
}

bool isOnDisk(const fs::path& file) {
    return statusOf(file) || (errno != ENOENT && errno != ENOTDIR);
}

} // namespace Linux
