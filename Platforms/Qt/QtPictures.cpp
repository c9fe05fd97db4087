#include "Platforms/Qt/QtPictures.hpp"

#include "Platforms/Qt/PictureIntake.hpp"

#include <QBuffer>
#include <QByteArrayView>
#include <QColorSpace>
#include <QFile>
#include <QSaveFile>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

namespace QtPlatform {

using ZorbelKit::Picture;
using ZorbelKit::Pixels;
using ZorbelKit::SharedText;
namespace fs = std::filesystem;

namespace {

using namespace std::string_view_literals;

// A PNG begins with its signature and the chunk that tells its size, and ends with a chunk that is always the
// same.
constexpr std::string_view beginning = "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"sv;
constexpr std::string_view ending = "\0\0\0\0IEND\xAE\x42\x60\x82"sv;

constexpr int leastEffort = 80;             // of 100, where 100 means no compression
constexpr int leastEffortOfCompression = 1; // of 9

// Reading

/// An open file, closed again with this; none where there is no regular file. Pipes, devices and folders are
/// left alone: opening some of them blocks, or does something.
bool openRegular(QFile& file, const fs::path& path) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored)) {
        return false;
    }
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return false;
    }
    // Another file may stand there by now.
    struct stat status {};
    const bool isRegular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    if (!isRegular ||
        !file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return false;
    }
    return true;
}

// Writing

constexpr std::array<std::uint32_t, 256> remainders() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0);
        }
        table[byte] = remainder;
    }
    return table;
}

/// The check sum of a chunk (CRC-32).
std::uint32_t checkSum(std::string_view bytes) {
    static constexpr auto table = remainders();
    std::uint32_t sum = ~std::uint32_t{0};
    for (const char byte : bytes) {
        sum = table[(sum ^ static_cast<unsigned char>(byte)) & 0xFF] ^ sum >> 8;
    }
    return ~sum;
}

void appendNumber(std::string& bytes, std::uint32_t value) {
    for (const int shift : {24, 16, 8, 0}) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
}

void appendChunk(std::string& png, std::string_view type, QByteArrayView content) {
    appendNumber(png, static_cast<std::uint32_t>(content.size()));
    const std::size_t begin = png.size();
    png += type;
    png.append(content.data(), static_cast<std::size_t>(content.size()));
    appendNumber(png, checkSum(std::string_view(png).substr(begin)));
}

bool isOpaque(const QImage& image) {
    const int width = image.width();
    for (int row = 0; row < image.height(); ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(row));
        QRgb all = ~QRgb{0};
        for (int column = 0; column < width; ++column) {
            all &= line[column];
        }
        if (qAlpha(all) != 0xFF) {
            return false;
        }
    }
    return true;
}

/// Whether colours of eight bits and nothing else say all there is to it, as with what a screen shows.
bool isPlain(const QImage& image) {
    return !image.colorSpace().isValid() && (image.format() == QImage::Format_RGB32 ||
                                             (image.format() == QImage::Format_ARGB32 && isOpaque(image)));
}

/// The rows of a plain picture, each pixel as its difference to the one on the left.
QByteArray differences(const QImage& image) {
    constexpr char toTheLeft = 1;
    const int width = image.width();
    QByteArray rows((qsizetype{width} * 3 + 1) * image.height(), Qt::Uninitialized);
    char* next = rows.data();
    for (int row = 0; row < image.height(); ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(row));
        *next++ = toTheLeft;
        QRgb left = 0;
        for (int column = 0; column < width; ++column) {
            const QRgb pixel = line[column];
            *next++ = static_cast<char>(qRed(pixel) - qRed(left));
            *next++ = static_cast<char>(qGreen(pixel) - qGreen(left));
            *next++ = static_cast<char>(qBlue(pixel) - qBlue(left));
            left = pixel;
        }
    }
    return rows;
}

/// The library tries every way to write each row, which takes nearly twice as long for a file hardly smaller.
std::string plainPng(const QImage& image) {
    const QByteArray compressed = qCompress(differences(image), leastEffortOfCompression);
    constexpr qsizetype prefix = 4; // bytes of qCompress's own
    constexpr qsizetype longestChunk = INT32_MAX;
    if (compressed.size() <= prefix || compressed.size() - prefix > longestChunk) {
        return {};
    }
    constexpr std::size_t besideThat = 64; // with the other chunks
    std::string png;
    png.reserve(static_cast<std::size_t>(compressed.size()) + besideThat); // or it would grow to twice that
    png += beginning;
    appendNumber(png, static_cast<std::uint32_t>(image.width()));
    appendNumber(png, static_cast<std::uint32_t>(image.height()));
    png += "\x08\x02\0\0\0"sv; // bits of a colour; red, green and blue; no choice for the rest
    appendNumber(png, checkSum(std::string_view(png).substr(beginning.size() - 4)));
    appendChunk(png, "IDAT", QByteArrayView(compressed).sliced(prefix));
    png += ending;
    return png;
}

/// Empty where it cannot be done.
SharedText pngOf(const QImage& image) {
    if (isPlain(image)) {
        return plainPng(image);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG", leastEffort) ? bytes.toStdString() : std::string();
}

// Places

/// Whether it is a folder that no other user can look into.
bool isPrivate(const char* folder) {
    struct stat status {};
    return ::stat(folder, &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

fs::path temporaryFolder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && *runtime == '/' && isPrivate(runtime)) {
        return runtime;
    }
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    return error ? "/tmp" : folder;
}

} // namespace

std::optional<Picture> QtPictures::read(const fs::path& path) const {
    QFile file;
    if (!openRegular(file, path)) {
        return std::nullopt;
    }
    PictureIntake intake(file.size());
    std::array<char, PictureIntake::piece> bytes; // NOLINT(*-member-init): filled by what is read
    for (qint64 count = 1; count > 0 && !intake.isRefused();) {
        count = file.read(bytes.data(), static_cast<qint64>(bytes.size()));
        intake.add({bytes.data(), static_cast<std::size_t>(std::max<qint64>(count, 0))});
    }
    return intake.picture();
}

Picture QtPictures::compacted(const Picture& picture) const {
    if (picture.isCompact()) {
        return picture;
    }
    const QImage all = image(picture);
    const SharedText png = all.isNull() ? SharedText() : pngOf(all);
    if (png.size() == 0) {
        return picture;
    }
    return Picture({.width = picture.width(),
                    .height = picture.height(),
                    .png = png.size() < picture.png().size() ? png : picture.png(),
                    .preview = picture.preview(),
                    .isCompact = true});
}

Picture QtPictures::blank(int width, int height) const {
    QImage image(width, height, QImage::Format_Grayscale8);
    image.fill(0);
    return picture(image);
}

bool QtPictures::write(const Picture& picture, const fs::path& path) const {
    std::error_code ignored;
    const fs::file_status there = fs::status(path, ignored);
    if (picture.isEmpty() || (fs::exists(there) && !fs::is_regular_file(there))) {
        return false; // a device or a pipe would be replaced by a file
    }
    QSaveFile file(QString::fromStdString(path.string()));
    const SharedText png = picture.png();
    const auto size = static_cast<qint64>(png.size());
    return file.open(QIODevice::WriteOnly) && file.write(png.view().data(), size) == size && file.commit();
}

fs::path QtPictures::temporaryFile(const std::string& name) const {
    const fs::path path = temporaryFolder() / name;
    // Who writes into a file that is there already leaves its permissions as they are.
    QFile file(QString::fromStdString(path.string()));
    static_cast<void>(file.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                                QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    return path;
}

void QtPictures::remove(const fs::path& file) const {
    ::unlink(file.c_str()); // and no folder, not even an empty one
}

Picture QtPictures::picture(const QImage& image) {
    SharedText png = image.isNull() ? SharedText() : pngOf(image);
    if (png.size() == 0) {
        return {};
    }
    return Picture({.width = image.width(),
                    .height = image.height(),
                    .png = std::move(png),
                    .preview = previewOf(image, previewSize(image.size())),
                    .isCompact = true});
}

QImage QtPictures::image(const Picture& picture) {
    return decoded(picture.png().view());
}

} // namespace QtPlatform
