#include "Platforms/Linux/MenuBar/TrayIcon.hpp"

#include "Platforms/Linux/RegularFile.hpp"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QImageReader>
#include <QPainter>
#include <QPixmap>
#include <QSet>
#include <QStandardPaths>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <filesystem>
#include <limits>
#include <utility>
#include <vector>

namespace Linux {

namespace {

constexpr int widestRatio = 3;        // of an icon's width to its height on the bar
constexpr int largestSideShown = 512; // device pixels
constexpr int deepestFolder = 4;      // below the item's own one: theme, size, kind, and one more
constexpr int mostEntries = 2000;     // looked at below it
constexpr std::array endings{".svg", ".png", ".xpm"};

bool isSymbolic(const QString& name) {
    return name.endsWith(QLatin1String("-symbolic"));
}

// Scaling

QSize box(int side) {
    return {side * widestRatio, side};
}

QSize atLeastOne(QSize size) {
    return size.expandedTo({1, 1});
}

/// As large as it looks best on the bar. What is too large is scaled down smoothly. What is a little smaller
/// stays as it is, for a blurred icon looks worse than one with some air around it; from half the side down,
/// as on a screen of twice the pixels, it is enlarged by a whole number and stays crisp.
QImage fitted(const QImage& image, int side) {
    if (image.isNull()) {
        return image;
    }
    const QImage plain = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QSize room = box(side);
    if (plain.width() > room.width() || plain.height() > room.height()) {
        const QSize size = atLeastOne(plain.size().scaled(room, Qt::KeepAspectRatio));
        return plain.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    const int times = std::min(room.width() / plain.width(), room.height() / plain.height());
    return times < 2 ? plain : plain.scaled(plain.size() * times);
}

/// A soft square: says that something is there, and nothing about what.
QImage placeholder(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const double inset = side * 0.22;
    const double stroke = std::max(1.0, side / 14.0);
    const double edge = inset + stroke / 2;
    painter.setPen(QPen(Qt::black, stroke));
    painter.drawRoundedRect(QRectF(edge, edge, side - 2 * edge, side - 2 * edge), side * 0.14, side * 0.14);
    return image;
}

// Decoding

/// Whether a drawing may be handed to the toolkit, which follows what a drawing leads to. Refused are: style
/// sheets and pictures, which it would open by name whatever they are, or unpack at any size; uses of uses,
/// which double with each step; nesting that would exhaust the stack.
bool isHarmlessDrawing(const QByteArray& bytes) {
    constexpr int deepestElement = 100;
    constexpr qsizetype mostWork = 16 << 20; // bytes, each use counted as the whole drawing
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false); // as the toolkit reads it
    QStringList identifiers;              // of the open elements
    QSet<QString> around;                 // identifiers of elements with a use inside
    QSet<QString> used;
    qsizetype work = bytes.size();
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::ProcessingInstruction &&
            reader.processingInstructionTarget() == QLatin1String("xml-stylesheet")) {
            return false;
        }
        if (token == QXmlStreamReader::EndElement) {
            identifiers.removeLast();
        }
        if (token != QXmlStreamReader::StartElement) {
            continue;
        }
        const QStringView name = reader.name();
        const QXmlStreamAttributes attributes = reader.attributes();
        identifiers.append(attributes.value(QLatin1String("id")).toString());
        const bool isRoot = identifiers.size() == 1;
        if (identifiers.size() > deepestElement || name == QLatin1String("image") ||
            (isRoot && name != QLatin1String("svg"))) {
            return false;
        }
        if (name == QLatin1String("use")) {
            around.unite(QSet<QString>(identifiers.begin(), identifiers.end()));
            for (const QXmlStreamAttribute& attribute : attributes) {
                if (attribute.name() == QLatin1String("href")) {
                    used.insert(attribute.value().toString().remove(QLatin1Char('#')));
                }
            }
            work += bytes.size();
        }
        if (work > mostWork) {
            return false;
        }
    }
    return !reader.hasError() && !around.intersects(used);
}

/// By what the file holds, not by what it is called; empty where it is none of the kinds that icons come in.
QByteArray formatOf(const QByteArray& bytes) {
    if (bytes.startsWith("\x89PNG\r\n\x1a\n")) {
        return "png";
    }
    if (bytes.startsWith("/* XPM")) {
        return "xpm";
    }
    if (bytes.startsWith("\xff\xd8\xff")) {
        return "jpeg";
    }
    const QByteArray start = bytes.first(std::min<qsizetype>(bytes.size(), 64)).trimmed();
    return start.startsWith('<') || start.startsWith("\xef\xbb\xbf<") ? QByteArray("svg") : QByteArray();
}

QImage decoded(QByteArray bytes, int side) {
    const QByteArray format = formatOf(bytes);
    const bool isDrawing = format == "svg";
    if (format.isEmpty() || (isDrawing && !isHarmlessDrawing(bytes))) {
        return {};
    }
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (size.isEmpty()) {
        return {};
    }
    if (isDrawing) {
        reader.setScaledSize(atLeastOne(size.scaled(box(side), Qt::KeepAspectRatio)));
    } else if (std::max(size.width(), size.height()) > TrayIconLoader::longestSide) {
        return {};
    }
    return fitted(reader.read(), side);
}

// Finding files

struct Candidate {
    std::string file;
    int size = 0; // it is made for; pixels
};

/// The size that a folder's name gives ("22x22", "22x22@2", "48"); 0 where it gives none.
int folderSize(const std::string& name) {
    const auto number = [](std::string_view text) {
        int value = 0;
        for (std::size_t index = 0; index < text.size() && index < 4; ++index) {
            if (text[index] < '0' || text[index] > '9') {
                break;
            }
            value = value * 10 + (text[index] - '0');
        }
        return value;
    };
    const std::size_t times = name.find('@');
    const int factor = times == std::string::npos ? 1 : number(std::string_view(name).substr(times + 1));
    return number(name) * std::max(factor, 1);
}

/// The files that may hold a picture named in the item's own folder, the best for `side` first: those right
/// in the folder, then below it drawings, then the smallest that is large enough, then the largest.
std::vector<std::string> filesInFolder(const QString& folder, const QString& name, int side) {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    names.reserve(std::size(endings));
    const std::string plain = QFile::encodeName(name).toStdString();
    for (const std::string ending : endings) {
        names.push_back(plain.ends_with(ending) ? plain : plain + ending);
    }
    const fs::path top(QFile::encodeName(folder).toStdString());
    std::vector<std::string> files;
    files.reserve(names.size());
    for (const std::string& each : names) {
        files.push_back(top / each);
    }

    struct Folder {
        fs::path path;
        int depth = 0;
        int size = 0;
    };
    std::vector<Candidate> below;
    std::deque<Folder> folders{{top, 0, 0}};
    int entries = 0;
    for (; !folders.empty() && entries < mostEntries; folders.pop_front()) {
        const Folder& current = folders.front();
        std::error_code failure;
        for (fs::directory_iterator entry(current.path, failure), end;
             !failure && entry != end && entries < mostEntries; entry.increment(failure)) {
            ++entries;
            std::error_code gone;
            const std::string file = entry->path().filename();
            if (current.depth > 0 && std::ranges::find(names, file) != names.end()) {
                const bool isDrawing = file.ends_with(endings.front());
                below.push_back({entry->path(), isDrawing ? side : current.size});
            } else if (current.depth < deepestFolder && entry->is_directory(gone)) {
                const int size = folderSize(file);
                folders.push_back({entry->path(), current.depth + 1, size > 0 ? size : current.size});
            }
        }
    }
    std::ranges::stable_sort(below, {}, [&](const Candidate& candidate) {
        const bool isLargeEnough = candidate.size >= side;
        return std::pair(!isLargeEnough, isLargeEnough ? candidate.size : -candidate.size);
    });
    std::ranges::transform(below, std::back_inserter(files), &Candidate::file);
    return files;
}

std::vector<std::string> candidateFiles(const QString& name, const QString& themePath, int side) {
    if (!name.startsWith(QLatin1Char('/'))) {
        return filesInFolder(themePath, name, side);
    }
    const std::string path = QFile::encodeName(name).toStdString();
    std::vector<std::string> files{path};
    for (const char* ending : endings) {
        files.push_back(path + ending); // some leave it out
    }
    return files;
}

// Theme

/// A name must not lead out of the folder it is looked for in.
bool isPlainName(const QString& name) {
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && name != QLatin1String("..");
}

/// The name and what it is a special case of, from its end: "audio-volume-muted-panel", "audio-volume-muted",
/// "audio-volume". A symbolic name stays so first. One word alone is too general to win over pixmaps.
QStringList namesFrom(const QString& name) {
    const QString suffix = isSymbolic(name) ? QStringLiteral("-symbolic") : QString();
    const QString stem = name.chopped(suffix.size());
    QStringList stems{stem};
    for (qsizetype dash = stem.lastIndexOf('-'); dash > 0; dash = stem.lastIndexOf('-', dash - 1)) {
        if (stem.first(dash).contains('-')) {
            stems.append(stem.first(dash));
        }
    }
    QStringList names;
    for (const QString& each : std::as_const(stems)) {
        names.append(each + suffix);
    }
    return suffix.isEmpty() ? names : names + stems;
}

std::optional<TrayImage> themed(const QString& name, int side) {
    constexpr int mostNames = 12;
    if (!isPlainName(name)) {
        return std::nullopt;
    }
    const QStringList names = namesFrom(name);
    for (const QString& candidate : names.first(std::min<qsizetype>(names.size(), mostNames))) {
        const QIcon icon = QIcon::fromTheme(candidate);
        // The toolkit has fallbacks of its own, which take a coloured icon for a symbolic one.
        if (icon.isNull() || icon.name() != candidate) {
            continue;
        }
        const QImage image = fitted(icon.pixmap(box(side), 1.0).toImage(), side);
        if (!image.isNull()) {
            return TrayImage{image, isSymbolic(candidate)};
        }
    }
    return std::nullopt;
}

bool hasOwnFile(const QString& name, const QString& themePath) {
    return name.startsWith(QLatin1Char('/')) || (isPlainName(name) && themePath.startsWith(QLatin1Char('/')));
}

TrayImage withoutOwnFile(const TrayPicture& picture, int side) {
    if (auto image = themed(picture.name, side)) {
        return *image;
    }
    const QImage image = fitted(bestImage(picture.pixmaps, side), side);
    if (!image.isNull()) {
        return {image, false};
    }
    return themed(picture.name.section('-', 0, 0), side).value_or(TrayImage{placeholder(side), true});
}

} // namespace

TrayIconLoader::TrayIconLoader(ZorbelKit::MainLoop& loop)
    : loop_(loop) {
}

void TrayIconLoader::load(const TrayPicture& picture, const QString& themePath, int side,
                          std::function<void(TrayImage)> loaded) {
    const int pixels = std::clamp(side, 1, largestSideShown);
    ++number_; // what is being read for an earlier call no longer counts
    request_.reset();
    if (!hasOwnFile(picture.name, themePath)) {
        loaded(withoutOwnFile(picture, pixels));
        return;
    }
    request_ = Request{picture, themePath, pixels, std::move(loaded), number_};
    if (!isReading_) {
        readFile();
    }
}

void TrayIconLoader::readFile() {
    const Request& request = *request_;
    FilePicture asked{request.picture.name, request.themePath, request.side, {}, {}, {}};
    if (shown_.name == asked.name && shown_.themePath == asked.themePath && shown_.side == asked.side) {
        asked = shown_;
    }
    isReading_ = true;
    auto answer = alive_.guard([this, number = request.number](const FilePicture& found) {
        isReading_ = false;
        fileRead(number, found);
    });
    loop_.background(ZorbelKit::Priority::userInitiated,
                     [&loop = loop_, asked = std::move(asked), answer = std::move(answer)] {
                         loop.post([found = pictureFromFiles(asked), answer]() mutable { answer(found); });
                     });
}

void TrayIconLoader::fileRead(int number, const FilePicture& found) {
    if (!request_) {
        return;
    }
    if (number != number_) {
        readFile();
        return;
    }
    shown_ = found;
    const Request request = std::exchange(request_, std::nullopt).value();
    // The receiver may destroy this object: nothing of it is touched after the call.
    if (found.image.isNull()) {
        request.loaded(withoutOwnFile(request.picture, request.side));
    } else {
        const QString name = QFileInfo(QFile::decodeName(found.file.c_str())).completeBaseName();
        request.loaded({found.image, isSymbolic(name)});
    }
}

std::optional<TrayIconLoader::FileStamp> TrayIconLoader::stampOf(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0 ||
        status.st_size > largestFile) {
        return std::nullopt;
    }
    return FileStamp{status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
                     status.st_mtim.tv_nsec};
}

TrayIconLoader::FilePicture TrayIconLoader::pictureFromFiles(FilePicture asked) {
    if (!asked.file.empty() && stampOf(asked.file) == asked.stamp) {
        return asked;
    }
    asked.file.clear();
    asked.image = {};
    for (const std::string& file : candidateFiles(asked.name, asked.themePath, asked.side)) {
        const auto stamp = stampOf(file);
        const auto bytes = stamp ? readRegularFile(file, largestFile) : std::nullopt;
        const QImage image = bytes ? decoded(QByteArray::fromStdString(*bytes), asked.side) : QImage();
        if (!image.isNull()) {
            asked.file = file;
            asked.stamp = *stamp;
            asked.image = image;
            break;
        }
    }
    return asked;
}

namespace {

/// The value of a key in an ini file; empty where there is none.
QString iniValue(const QString& file, const QByteArray& section, const QByteArray& key) {
    constexpr std::size_t largestSettings = 256 << 10; // bytes
    const auto text = readRegularFile(QFile::encodeName(file).toStdString(), largestSettings);
    if (!text) {
        return {};
    }
    bool isInSection = false;
    for (const QByteArray& raw : QByteArray::fromStdString(*text).split('\n')) {
        const QByteArray line = raw.trimmed();
        const qsizetype equals = line.indexOf('=');
        if (line.startsWith('[')) {
            isInSection = line == '[' + section + ']';
        } else if (isInSection && equals > 0 && line.first(equals).trimmed() == key) {
            return QString::fromUtf8(line.sliced(equals + 1).trimmed());
        }
    }
    return {};
}

bool isInstalledTheme(const QString& name) {
    const QStringList folders = QIcon::themeSearchPaths();
    return isPlainName(name) && std::ranges::any_of(folders, [&](const QString& folder) {
               return QFileInfo::exists(folder + '/' + name + QLatin1String("/index.theme"));
           });
}

} // namespace

void chooseIconTheme() {
    const QString plainTheme = QStringLiteral("hicolor");
    const QString own = QIcon::themeName();
    if (!own.isEmpty() && own != plainTheme) {
        return;
    }
    const QString settings = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QStringList wanted{iniValue(settings + "/gtk-3.0/settings.ini", "Settings", "gtk-icon-theme-name"),
                             iniValue(settings + "/kdeglobals", "Icons", "Theme"), QStringLiteral("Adwaita")};
    const auto found = std::ranges::find_if(wanted, isInstalledTheme);
    QIcon::setThemeName(found == wanted.end() ? plainTheme : *found);
}

} // namespace Linux
